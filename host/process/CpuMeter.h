#pragma once

#include "host/process/IClock.h"
#include "host/process/ProcessStat.h"

/// A process as it was read at one moment.
struct ProcessReading {
  ProcessStat stat;
  std::chrono::microseconds monotonic{0};
  std::chrono::microseconds sinceBoot{0};
};

/// Turns the processor time that a process has used so far into the percentage
/// that it used since it was last measured.
class CpuMeter {
 public:
  /// @param ticksPerSecond the unit of the kernel's accounting.
  explicit CpuMeter(unsigned int ticksPerSecond) : fTicksPerSecond(ticksPerSecond) {}

  /// Whole percent of one core since the last measurement, or for the first one
  /// since the start of the process.
  /// @param reading not older than the last one.
  unsigned int measure(ProcessReading const& reading);

 private:
  std::chrono::microseconds duration(unsigned long long ticks) const;

  unsigned int fTicksPerSecond;
  bool fIsStarted = false;
  unsigned long long fCpuTicks = 0;
  std::chrono::microseconds fAt{0};
  unsigned int fPercent = 0;
};
