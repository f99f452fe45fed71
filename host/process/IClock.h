#pragma once

#include <chrono>

/// The clocks that processor time is measured against. Any thread may call.
class IClock {
 public:
  virtual ~IClock() = default;

  /// Runs forward only; stands still while the machine is suspended, as the
  /// processor time of a process does.
  virtual std::chrono::microseconds monotonic() const = 0;

  /// Time since the machine started, in which processes note their own start.
  virtual std::chrono::microseconds sinceBoot() const = 0;
};
