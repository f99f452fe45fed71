#pragma once

#include <string>
#include <vector>

#include "tests/host/process/TemporaryFolder.h"

/// A made process table.
struct FakeProcess {
  std::string comm;
  char state = 'S';
  unsigned int parentPid = 1;
  unsigned long long cpuTicks = 0;
  unsigned int threads = 1;
  unsigned long long startTicks = 100;
  unsigned long long pages = 0;
  std::string commandLine{};
  unsigned int flags = 0;
};

inline std::string statText(unsigned int pid, FakeProcess const& process) {
  const auto number = [](auto value) { return " " + std::to_string(value); };
  return std::to_string(pid) + " (" + process.comm + ") " + process.state +
         number(process.parentPid) + " 1 1 0 -1" + number(process.flags) + " 5 6 7 8" +
         number(process.cpuTicks) + " 0 9 9 20 0" + number(process.threads) + " 0" +
         number(process.startTicks) + " 4096" + number(process.pages) + " 18446744073709551615\n";
}

class FakeProc : public TemporaryFolder {
 public:
  void add(unsigned int pid, FakeProcess const& process) const {
    const std::string folder = std::to_string(pid) + "/";
    makeFile(folder + "comm", process.comm + "\n");
    makeFile(folder + "stat", statText(pid, process));
    makeFile(folder + "status", "Name:\tx\nTgid:\t" + std::to_string(pid) + "\nNgid:\t0\n");
    makeFile(folder + "cmdline", process.commandLine);
  }

  /// Also for whoever keeps its files open.
  void remove(unsigned int pid) const {
    makeFile(std::to_string(pid) + "/comm", "");
    makeFile(std::to_string(pid) + "/stat", "");
    std::filesystem::remove_all(path(std::to_string(pid)));
  }
};
