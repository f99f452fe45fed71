#include <gtest/gtest.h>

#include <thread>

#include "framework/PResult.h"
#include "host/HoldRef.h"
#include "host/services/ExtCounters.h"

namespace {

TEST(Counters, LoseNothingBetweenThreads) {
  const auto counters = holdRef(new ExtCounters);
  const auto count = [&] {
    for (int i = 0; i < 10'000; ++i) counters->increment(L"wd_proc_count");
  };
  std::thread other(count);
  count();
  other.join();
  unsigned long long value = 7;
  EXPECT_EQ(counters->getValue(L"WD_proc_count", value), PResult::notFound);
  EXPECT_EQ(value, 7U);
  EXPECT_EQ(counters->getValue(L"wd_proc_count", value), 0);
  EXPECT_EQ(value, 20'000U);
}

}  // namespace
