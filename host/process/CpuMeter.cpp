#include "host/process/CpuMeter.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::chrono::microseconds kSecond = std::chrono::seconds(1);

unsigned int percentOf(std::chrono::microseconds used, std::chrono::microseconds elapsed) {
  if (elapsed.count() <= 0 || used.count() <= 0) return 0;
  using Count = std::chrono::microseconds::rep;
  constexpr Count kMost = std::numeric_limits<unsigned int>::max();
  // No process has used so much, but the number is somebody else's.
  if (used.count() > std::numeric_limits<Count>::max() / 100) return kMost;
  return static_cast<unsigned int>(std::min(used.count() * 100 / elapsed.count(), kMost));
}

}  // namespace

std::chrono::microseconds CpuMeter::duration(unsigned long long ticks) const {
  return std::chrono::microseconds(static_cast<long long>(
      ticks * static_cast<unsigned long long>(kSecond.count()) / fTicksPerSecond));
}

unsigned int CpuMeter::measure(ProcessReading const& reading) {
  ProcessStat const& stat = reading.stat;
  if (!fIsStarted) {
    // Since its start the machine may have been asleep, which counts as time.
    fPercent = percentOf(duration(stat.cpuTicks), reading.sinceBoot - duration(stat.startTicks));
  } else if (reading.monotonic - fAt < kSecond / fTicksPerSecond) {
    // Within one unit of accounting there is nothing new to see.
    return fPercent;
  } else {
    // A counter that ran backwards measured nothing.
    const auto used = stat.cpuTicks > fCpuTicks ? stat.cpuTicks - fCpuTicks : 0;
    fPercent = percentOf(duration(used), reading.monotonic - fAt);
  }
  fIsStarted = true;
  fCpuTicks = stat.cpuTicks;
  fAt = reading.monotonic;
  return fPercent;
}
