#pragma once

#include <functional>

#include "framework/PResult.h"
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
  /// Reads the living process that is meant by a number, or answers
  /// `PResult::notFound` or a negative code.
  using Look = std::function<int(unsigned int pid, ProcessStat& stat)>;

  /// Gets hold of a living process.
  /// @param tree, signals outlive the handle.
  /// @param look is called once the hold was taken, at most twice.
  /// @param stat set to the state of the process.
  /// @return 0, `PResult::notFound`, or a negative code.
  static int open(ProcessTree const& tree, IProcessSignals& signals, unsigned int pid,
                  Look const& look, ProcessHandle& handle, ProcessStat& stat);

  unsigned int pid() const { return fPid; }

  /// Polls readable once the process is dead; -1 where there is none.
  int descriptor() const { return fDescriptor.get(); }

  bool isSame(ProcessHandle const& other) const {
    return fPid == other.fPid && fStartTicks == other.fStartTicks;
  }

  /// Whether the process is dead, by its entry in the process table.
  bool isDead() const { return confirm() == PResult::notFound; }

  /// Nothing is sent to a process that cannot be looked at.
  /// @return 0, `PResult::notFound` when the process is dead, or a negative code.
  int send(int signal) const;

 private:
  int confirm() const;

  ProcessTree const* fTree = nullptr;
  IProcessSignals* fSignals = nullptr;
  UniqueFd fDescriptor;
  unsigned int fPid = 0;
  unsigned long long fStartTicks = 0;
};
