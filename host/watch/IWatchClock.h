#pragma once

#include <chrono>
#include <memory>

#include "host/watch/WatchView.h"

/// The clocks by which the watchdog is observed. Any thread may call.
class IWatchClock {
 public:
  virtual ~IWatchClock() = default;

  /// Runs forward only: the clock that the watchdog's windows are measured by.
  virtual std::chrono::microseconds monotonic() const = 0;

  /// The time of day, which may be set.
  virtual WallTime wall() const = 0;
};

/// The clocks of this machine.
std::shared_ptr<IWatchClock const> systemWatchClock();
