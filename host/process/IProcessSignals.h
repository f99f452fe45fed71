#pragma once

#include <memory>

#include "host/process/UniqueFd.h"

/// The kernel's ways to get hold of a process and to signal it. Any thread may
/// call. Results are 0, `PResult::notFound` for a process that does not exist, or
/// a negated errno.
class IProcessSignals {
 public:
  virtual ~IProcessSignals() = default;

  /// Opens a descriptor that stands for this very process, whatever becomes of
  /// its number, and that polls readable once the process is dead.
  virtual int open(unsigned int pid, UniqueFd& descriptor) = 0;

  /// Signals the process behind a descriptor.
  virtual int send(UniqueFd const& descriptor, int signal) = 0;

  /// Signals whatever bears the number now: for kernels without descriptors.
  virtual int send(unsigned int pid, int signal) = 0;
};

/// The running kernel's.
std::unique_ptr<IProcessSignals> makeKernelSignals();
