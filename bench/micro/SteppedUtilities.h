#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "host/process/ProcessUtilities.h"

/// The process utilities on a table of one's choice, with a clock that is moved on
/// by hand: a second from sample to sample, as in service, so that nothing that is
/// kept for a moment passes for work done.
class SteppedUtilities {
 public:
  explicit SteppedUtilities(std::string const& procRoot)
      : fUtilities({.procRoot = procRoot, .keptDescriptors = descriptorsToKeep()},
                   std::make_shared<spdlog::logger>("bench"), world()) {}

  ProcessUtilities* operator->() { return &fUtilities; }

  void nextSample() { fClock->now += std::chrono::seconds(1); }

 private:
  struct SteppedClock : IClock {
    std::chrono::microseconds monotonic() const override { return now; }
    std::chrono::microseconds sinceBoot() const override { return now; }

    std::chrono::microseconds now = std::chrono::hours(24 * 365);
  };

  ProcessWorld world() {
    ProcessWorld real = ProcessWorld::real();
    auto clock = std::make_unique<SteppedClock>();
    fClock = clock.get();
    real.clock = std::move(clock);
    real.listen = nullptr;  // every look is a whole one
    return real;
  }

  SteppedClock* fClock = nullptr;
  ProcessUtilities fUtilities;  // after the pointer that its making sets
};
