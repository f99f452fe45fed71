#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "framework/PResult.h"
#include "host/services/ExtCounters.h"
#include "host/services/HoldRef.h"
#include "host/services/OsRestart.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;
using testing::Pair;

namespace {

TEST(Counters, LoseNoIncrementOfAnyThread) {
  constexpr int kIncrements = 10'000;
  const auto counters = holdRef(new ExtCounters);
  unsigned long long value = 7;
  EXPECT_EQ(counters->getValue(L"a", value), PResult::notFound);
  EXPECT_EQ(value, 7U);
  const auto count = [&counters] {
    for (int i = 0; i < kIncrements; ++i) counters->increment(L"a");
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(counters->increment(L"b\u00e9"), 0);
  EXPECT_EQ(counters->increment(L""), -EINVAL);
  EXPECT_EQ(counters->getValue(L"a", value), 0);
  EXPECT_EQ(value, 2U * kIncrements);
  EXPECT_THAT(counters->snapshot(),
              ElementsAre(Pair("a", 2U * kIncrements), Pair("b\xc3\xa9", 1U)));
}

TEST(Restart, GoesToTheCommandOrAsRootToTheKernel) {
  struct Case {
    const char* command;
    bool isRoot;
    int mode, outcome, res;
    const char* did;
    const char* logged;
  };
  const Case cases[] = {
      {"", true, 1, 0, -EINVAL, "",
       "error test: operating-system restart refused: there is no mode 1"},
      {"", false, 0, 0, -EPERM, "",
       "error test: operating-system restart refused: not root, and no restart_command is set"},
      {"", true, 0, 0, 0, "kernel", "warning test: operating-system restart: by the kernel, now"},
      {"go now", false, 0, 0, 0, "go now",
       "warning test: operating-system restart: running `go now', pid=42"},
      {"go", true, 0, -ENOENT, -ENOENT, "go",
       "error test: operating-system restart failed: cannot run `go': No such file or directory"},
  };
  for (Case const& each : cases) {
    CollectedLog log;
    std::string did;
    RestartMeans means{each.command,
                       [&](std::string const& commandLine, unsigned int& pid) {
                         did += commandLine;
                         pid = 42;
                         return each.outcome;
                       },
                       [&] {
                         did += "kernel";
                         return each.outcome;
                       },
                       each.isRoot};
    EXPECT_EQ(holdRef(new OsRestart(means, log.logger()))->restart(each.mode), each.res);
    EXPECT_EQ(did, each.did);
    EXPECT_THAT(log.lines(), ElementsAre(each.logged));
  }
}

}  // namespace
