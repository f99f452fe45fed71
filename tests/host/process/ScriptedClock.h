#pragma once

#include "host/process/IClock.h"

class ScriptedClock : public IClock {
 public:
  std::chrono::microseconds monotonic() const override { return fNow; }
  std::chrono::microseconds sinceBoot() const override { return fNow + std::chrono::hours(1); }
  std::chrono::microseconds fNow = std::chrono::seconds(500);
};
