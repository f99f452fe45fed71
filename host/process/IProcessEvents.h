#pragma once

#include <memory>
#include <vector>

/// Something happened to a process: it was forked, executed a program or changed
/// its name, or its main thread ended.
struct ProcessEvent {
  unsigned int pid = 0;
  bool isEnd = false;
};

/// The kernel's report of what happens to processes. One thread at a time.
class IProcessEvents {
 public:
  virtual ~IProcessEvents() = default;

  /// Adds what happened since the last call, in order; does not wait.
  /// @return false when something of it was lost: then anything may have happened.
  virtual bool take(std::vector<ProcessEvent>& events) = 0;
};

/// Listens to the running kernel.
/// @return null where it does not report, or not to this process: it needs the
///         first PID and network namespaces and, before Linux 6.6, the right to
///         administer the network.
std::unique_ptr<IProcessEvents> listenToKernel();
