#include "framework/PTime.h"

#include <chrono>

long long PTime::getTickCount() noexcept {
  // libstdc++'s steady clock is CLOCK_MONOTONIC, which starts at boot. The 1
  // keeps the promise of a count above 0 in the first millisecond.
  const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(sinceBoot).count() + 1;
}

long long PTime::getTickCountDiff(long long from, long long to) noexcept {
  return static_cast<long long>(static_cast<unsigned long long>(to) -
                                static_cast<unsigned long long>(from));
}
