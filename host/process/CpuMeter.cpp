#include "host/process/CpuMeter.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t kFirstSweep = 256;
constexpr std::chrono::microseconds kSecond = std::chrono::seconds(1);

unsigned int percentOf(std::chrono::microseconds used, std::chrono::microseconds elapsed) {
  if (elapsed.count() <= 0 || used.count() <= 0) return 0;
  constexpr std::chrono::microseconds::rep kMost = std::numeric_limits<unsigned int>::max();
  return static_cast<unsigned int>(std::min(used.count() * 100 / elapsed.count(), kMost));
}

}  // namespace

CpuMeter::CpuMeter(IClock const& clock, unsigned int ticksPerSecond, IsAlive isAlive)
    : fClock(clock),
      fTicksPerSecond(ticksPerSecond),
      fIsAlive(std::move(isAlive)),
      fSweepAt(kFirstSweep) {}

std::chrono::microseconds CpuMeter::duration(unsigned long long ticks) const {
  return std::chrono::microseconds(static_cast<long long>(
      ticks * static_cast<unsigned long long>(kSecond.count()) / fTicksPerSecond));
}

unsigned int CpuMeter::percentSince(Look const& last, Look const& now) const {
  const auto elapsed = now.at - last.at;
  // A counter that ran backwards measured nothing.
  const auto used = now.cpuTicks > last.cpuTicks ? now.cpuTicks - last.cpuTicks : 0;
  return percentOf(duration(used), elapsed);
}

unsigned int CpuMeter::usage(unsigned int pid, ProcessStat const& stat) {
  Look now{stat.startTicks, stat.cpuTicks, fClock.monotonic(), 0};
  const auto known = fLooks.find(pid);
  if (known == fLooks.end() || known->second.startTicks != stat.startTicks) {
    now.percent =
        percentOf(duration(stat.cpuTicks), fClock.sinceBoot() - duration(stat.startTicks));
    if (known == fLooks.end() && fLooks.size() >= fSweepAt) forgetTheDead();
    fLooks[pid] = now;
    return now.percent;
  }
  // Within one unit of accounting there is nothing new to see.
  if (now.at - known->second.at >= kSecond / fTicksPerSecond) {
    now.percent = percentSince(known->second, now);
    known->second = now;
  }
  return known->second.percent;
}

void CpuMeter::forgetTheDead() {
  std::erase_if(fLooks,
                [this](auto const& look) { return !fIsAlive(look.first, look.second.startTicks); });
  fSweepAt = std::max(kFirstSweep, 2 * fLooks.size());
}
