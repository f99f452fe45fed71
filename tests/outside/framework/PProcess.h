#pragma once
#include <map>
#include <semaphore>
#include <vector>

#include "framework/PString.h"

using Pids = std::vector<unsigned int>;

/// The world that the test makes up, and what was done in it, line by line.
extern struct Script {
  std::map<PString, class IBase*> services;
  std::map<PString, Pids> processes;
  std::wstring notes;
  std::counting_semaphore<> waits{0};

  int note(std::wstring const& line) {
    notes += line + L"\n";
    return 0;
  }
} script;

struct PProcess {
  static int find(PLiteral const& name, Pids& pids, Pids& parentPids);
  static int getCPUUsage(unsigned int, unsigned int&) { return -504; }
  static int getMemoryUsage(unsigned int, unsigned long long&) { return -504; }
  static int isRunning(unsigned int, bool& running) { return running = true, 0; }
  static int kill(unsigned int pid) { return script.note(L"kill " + std::to_wstring(pid)); }
  static int start(PLiteral const& exe, PLiteral const& args, PLiteral const& dir, unsigned& pid);
};
