#include <ctime>

#include "host/process/ProcessUtilities.h"

namespace {

class SystemClock : public IClock {
 public:
  std::chrono::microseconds monotonic() const override { return read(CLOCK_MONOTONIC); }
  std::chrono::microseconds sinceBoot() const override { return read(CLOCK_BOOTTIME); }

 private:
  static std::chrono::microseconds read(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::duration_cast<std::chrono::microseconds>(
                                                  std::chrono::nanoseconds(now.tv_nsec));
  }
};

}  // namespace

ProcessWorld ProcessWorld::real() {
  return {std::make_unique<SystemClock>(), makeKernelSignals(), makeForkSpawner(), listenToKernel};
}
