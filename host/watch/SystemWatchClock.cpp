#include "host/watch/IWatchClock.h"

namespace {

class SystemWatchClock : public IWatchClock {
 public:
  std::chrono::microseconds monotonic() const override {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::floor<std::chrono::microseconds>(now);
  }
  WallTime wall() const override {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  }
};

}  // namespace

std::shared_ptr<IWatchClock const> systemWatchClock() {
  return std::make_shared<SystemWatchClock const>();
}
