#include <gtest/gtest.h>

#include "host/process/CpuMeter.h"

namespace {

using namespace std::chrono_literals;

TEST(CpuMeterTest, MeasuresSinceTheLastLook) {
  CpuMeter meter(100);
  // Started 10 s ago, in ticks of 10 ms since boot.
  ProcessReading reading{{.comm = "x", .cpuTicks = 250, .startTicks = 4090 * 100}, 500s, 4100s};
  EXPECT_EQ(meter.measure(reading), 25U) << "since its start";

  struct Look {
    std::chrono::milliseconds later;
    long long moreTicks;
    unsigned int percent;
    const char* what;
  };
  for (auto const& look :
       {Look{2000ms, 200, 100, "one core"}, Look{2000ms, 799, 399, "four, cut"},
        Look{9ms, 50, 399, "too soon to tell"}, Look{991ms, 0, 50, "what was too soon is not lost"},
        Look{1000ms, -300, 0, "a counter that ran backwards"},
        Look{1000ms, 10, 10, "and goes on from there"}, Look{1000ms, 0, 0, "idle"},
        Look{-1000ms, 50, 0, "a clock that was set back"}}) {
    // Between two looks the machine was suspended, which is no time in which a
    // process could have run.
    reading.sinceBoot += 1h;
    reading.monotonic += look.later;
    reading.stat.cpuTicks += static_cast<unsigned long long>(look.moreTicks);
    EXPECT_EQ(meter.measure(reading), look.percent) << look.what;
  }
}

}  // namespace
