#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "framework/PResult.h"
#include "host/services/ExtCounters.h"
#include "host/services/HoldRef.h"
#include "host/services/OsRestart.h"
#include "tests/host/services/CollectedLog.h"

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

TEST(Restart, GoesToTheCommandOrAsRootToTheKernel) {
  struct Case {
    const char* command;
    bool isRoot;
    int mode, outcome, res;
    std::string did, logged;
  };
  const Case cases[] = {
      {"", true, 1, 0, -EINVAL, "", "error test: .* refused: there is no mode 1"},
      {"", false, 0, 0, -EPERM, "", "error test: .* refused: not root, and no restart_comm.*"},
      {"", true, 0, 0, 0, "kernel", "warning test: .*: by the kernel, now"},
      {"go now", false, 0, 0, 0, "go now", "warning test: .*: running `go now', pid=42"},
      {"go", true, 0, -ENOENT, -ENOENT, "go", "error test: .* cannot run `go': No such file.*"},
  };
  for (Case const& each : cases) {
    CollectedLog log;
    std::string did;
    const auto run = [&](std::string const& commandLine, unsigned int& pid) {
      did += commandLine;
      pid = 42;
      return each.outcome;
    };
    const auto kernel = [&] {
      did += "kernel";
      return each.outcome;
    };
    const auto restart =
        holdRef(new OsRestart(RestartMeans{each.command, run, kernel, each.isRoot}, log.logger()));
    EXPECT_EQ(restart->restart(each.mode), each.res);
    EXPECT_EQ(did, each.did);
    EXPECT_THAT(log.lines(), testing::ElementsAre(testing::MatchesRegex(each.logged)));
  }
}

}  // namespace
