#pragma once

#include <chrono>
#include <functional>
#include <unordered_map>

#include "host/process/IClock.h"
#include "host/process/ProcessStat.h"

/// Turns the processor time that a process has used so far into the percentage
/// that it used since it was last looked at. One thread at a time.
class CpuMeter {
 public:
  /// Whether the process with this number and start is still there.
  using IsAlive = std::function<bool(unsigned int pid, unsigned long long startTicks)>;

  /// @param clock outlives this object.
  /// @param ticksPerSecond the unit of the kernel's accounting.
  CpuMeter(IClock const& clock, unsigned int ticksPerSecond, IsAlive isAlive);

  /// Whole percent of one core since the last look at the process with this
  /// number and start, or since its start.
  unsigned int usage(unsigned int pid, ProcessStat const& stat);

 private:
  struct Look {
    unsigned long long startTicks = 0;
    unsigned long long cpuTicks = 0;
    std::chrono::microseconds at{0};
    unsigned int percent = 0;
  };

  std::chrono::microseconds duration(unsigned long long ticks) const;
  unsigned int percentSince(Look const& last, Look const& now) const;
  void forgetTheDead();

  IClock const& fClock;
  unsigned int fTicksPerSecond;
  IsAlive fIsAlive;
  std::unordered_map<unsigned int, Look> fLooks;
  std::size_t fSweepAt;
};
