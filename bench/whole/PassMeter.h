#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "bench/whole/CpuClock.h"
#include "bench/whole/Interruption.h"

/// What one pass of a watchdog cost.
struct Pass {
  std::chrono::nanoseconds cpu;   ///< from the pause before it to the pause after it
  std::chrono::nanoseconds wall;  ///< from the end of the pass before to its own
};

/// Measures the passes of a process that works, pauses for a known time, works
/// again. It need not know how long a pass takes: it reads the processor clock
/// some fifty times a second while it waits for the next burst of work, and once
/// that is over; what was used between two pauses is the cost of a pass, with
/// all that the process did between the passes. A pause that is too short is an
/// error, not a pass.
class PassMeter {
 public:
  /// @param pause between the end of a pass and the beginning of the next.
  PassMeter(pid_t pid, std::chrono::milliseconds pause);

  /// Waits for the next pass and its end.
  /// @param duringPause called in the middle of the pause before that pass.
  /// @return nothing for the first pass, which may have begun before anybody
  ///         looked, and where the pauses do not show that it was exactly one.
  /// @throws std::runtime_error, Interruption
  std::optional<Pass> awaitPass(std::function<void()> const& duringPause = {});

  /// All that the process has used up to the end of the last pass.
  std::chrono::nanoseconds cpuAtEnd() const { return fCpuAtEnd; }

 private:
  bool sleepThroughPause(std::function<void()> const& duringPause);
  SteadyTime awaitWork();
  SteadyTime awaitEndOfWork(SteadyTime begin);
  bool poll();

  CpuClock fClock;
  std::chrono::milliseconds fPause;
  std::chrono::nanoseconds fLastRead{0};
  std::chrono::nanoseconds fCpuAtEnd{0};
  SteadyTime fEnd{};
};
