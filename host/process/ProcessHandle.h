#pragma once

#include "host/process/IProcessSignals.h"
#include "host/process/ProcessTree.h"
#include "host/process/UniqueFd.h"

/// One particular process: a number together with what tells it from any other
/// process that may come to bear that number.
///
/// Where the kernel gives no descriptor for a process, or none is left, the start
/// time is compared right before each act instead.
class ProcessHandle {
 public:
  /// Gets hold of a living process.
  /// @param tree, signals outlive the handle.
  /// @param stat set to its state, read after the hold was taken.
  /// @return 0, `PResult::notFound`, or a negative code.
  static int open(ProcessTree const& tree, IProcessSignals& signals, unsigned int pid,
                  ProcessHandle& handle, ProcessStat& stat);

  unsigned int pid() const { return fPid; }

  /// Polls readable once the process is dead; -1 where there is none.
  int descriptor() const { return fDescriptor.get(); }

  bool isSame(ProcessHandle const& other) const {
    return fPid == other.fPid && fStartTicks == other.fStartTicks;
  }

  /// Whether the process is dead, by its entry in the process table.
  bool isDead() const;

  /// @return 0, `PResult::notFound` when the process is dead, or a negative code.
  int send(int signal) const;

 private:
  ProcessTree const* fTree = nullptr;
  IProcessSignals* fSignals = nullptr;
  UniqueFd fDescriptor;
  unsigned int fPid = 0;
  unsigned long long fStartTicks = 0;
};
