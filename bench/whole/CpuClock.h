#pragma once

#include <sys/types.h>

#include <chrono>
#include <ctime>

/// The processor time that a process has used, all its threads together, to the
/// nanosecond. Reading it costs that process nothing.
class CpuClock {
 public:
  /// @throws std::runtime_error if there is no such process.
  explicit CpuClock(pid_t pid);

  /// @throws std::runtime_error once the process is gone.
  std::chrono::nanoseconds read() const;

 private:
  clockid_t fClock{};
};

/// The processor time of the calling thread.
std::chrono::nanoseconds threadCpuTime();

/// Resident memory of a process, 0 if it cannot be read.
long residentKib(pid_t pid);
