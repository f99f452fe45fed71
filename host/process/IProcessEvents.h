#pragma once

#include <functional>
#include <memory>
#include <vector>

/// The kernel's report of what happens to processes. One thread at a time.
class IProcessEvents {
 public:
  virtual ~IProcessEvents() = default;

  /// Adds the number of every process that was forked, executed a program, changed
  /// its name or whose main thread ended since the last call; some more than once.
  /// Does not wait. That a dead process is reaped is nothing that is reported.
  /// @return false when something was lost: then anything may have happened.
  virtual bool take(std::vector<unsigned int>& pids) = 0;
};

/// Begins to listen. @return null where there are no reports, or not now.
using ListenToEvents = std::function<std::unique_ptr<IProcessEvents>()>;

/// Listens to the running kernel.
/// @return null where it does not report, or not to this process: it needs the
///         first PID and network namespaces and, before Linux 6.6, the right to
///         administer the network.
std::unique_ptr<IProcessEvents> listenToKernel();
