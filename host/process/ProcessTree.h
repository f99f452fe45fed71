#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/process/ProcessStat.h"

/// Reads the process table below the folder where it is mounted.
///
/// Every operation returns 0, `PResult::notFound` for a process that does not
/// exist (any more), or the negated errno of the call that failed. Nothing is
/// kept between calls; any thread may call.
class ProcessTree {
 public:
  explicit ProcessTree(std::string root) : fRoot(std::move(root)) {}

  /// All processes, in ascending order.
  int listPids(std::vector<unsigned int>& pids) const;

  /// The name that the kernel keeps, any bytes but a null.
  int readComm(unsigned int pid, std::string& comm) const;

  int readStat(unsigned int pid, ProcessStat& stat) const;

  /// As `readStat`, but a process that is dead and not yet reaped counts as one
  /// that does not exist.
  int readLiving(unsigned int pid, ProcessStat& stat) const;

  /// Whether the number is that of a process, and not of one of its threads,
  /// which have entries of their own that no listing shows.
  bool isProcess(unsigned int pid) const;

  /// The state of a thread that lives while the main thread of `pid` does not.
  int readLivingThread(unsigned int pid, ProcessStat& stat) const;

  /// The base names under which `pid` was executed: of its executable, where
  /// that may be read, and of the first three words of its command line: an interpreted
  /// script comes after its interpreter and at most one option of that.
  std::vector<std::string> programNames(unsigned int pid) const;

 private:
  std::string path(unsigned int pid, std::string_view file) const;
  static int readStatFile(std::string const& path, ProcessStat& stat);

  std::string fRoot;
};
