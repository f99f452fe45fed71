// Reading and searching process tables that a test makes, hostile ones included.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

#include "framework/PResult.h"
#include "host/process/CommandLine.h"
#include "host/process/CpuMeter.h"
#include "host/process/ProcessFinder.h"
#include "tests/host/process/FakeProc.h"
#include "tests/host/process/ScriptedClock.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Pids = std::vector<unsigned int>;

TEST(ProcessStatTest, NamesMayHoldAnything) {
  for (auto const& name : {"a b"s, "(x)"s, ") R 1 1"s, "x) S 9 (y"s, "two\nlines"s, "\xff\xfe"s,
                           "fifteen-bytes-x"s, ""s}) {
    const FakeProcess process{name, 'D', 42, 1ULL << 40, 3, 77, 12};
    const auto stat = parseProcessStat(statText(7, process));
    ASSERT_TRUE(stat) << name;
    EXPECT_EQ(stat->comm, name);
    EXPECT_EQ(stat->state, 'D');
    EXPECT_EQ(stat->parentPid, 42U);
    EXPECT_EQ(stat->cpuTicks, 1ULL << 40);
    EXPECT_EQ(stat->threadCount, 3U);
    EXPECT_EQ(stat->startTicks, 77U);
    EXPECT_EQ(stat->residentPages, 12U);
  }
}

TEST(ProcessStatTest, BrokenTextsAreRefused) {
  const std::string whole = statText(7, {.comm = "x"});
  const auto blank = whole.find(" 4096 ");
  for (auto const& text : {""s, "7"s, "7 (x"s, "7 (x) "s, "7 (x) SS 1"s, whole.substr(0, blank),
                           whole.substr(0, whole.find("-1")) + "zz" + whole.substr(blank)}) {
    EXPECT_FALSE(parseProcessStat(text)) << text;
  }
}

class FinderTest : public testing::Test {
 protected:
  int find(std::string const& name) { return fFinder.find(name, fPids, fParents); }

  FakeProc fProc;
  ProcessTree fTree{fProc.path()};
  ScriptedClock fClock;
  DescriptorBudget fBudget{8};
  ProcessNames fNames{fTree, fBudget, nullptr};
  KnownProcesses fKnown{fTree, fClock, fBudget, 100};
  ProcessFinder fFinder{fTree, fClock, fNames, fKnown};
  Pids fPids{99};
  Pids fParents{99};
};

TEST_F(FinderTest, ListsTheLivingOfOneNameInAscendingOrder) {
  fProc.add(100, {.comm = "web", .parentPid = 9});
  fProc.add(9, {.comm = "web", .parentPid = 1});
  fProc.add(10, {.comm = "Web"});
  fProc.add(11, {.comm = "web2"});
  fProc.add(12, {.comm = "web", .state = 'T'});
  fProc.add(13, {.comm = "web", .state = 'Z'});
  fProc.add(14, {.comm = "web", .state = 'X', .threads = 2});
  fProc.add(15, {.comm = "web", .state = 'Z', .threads = 2});  // its main thread has ended
  fProc.makeFile("15/task/18/stat", statText(18, {.comm = "other"}));
  fProc.makeFile("16/comm", "web\n");  // gone before it could be read
  fProc.makeFile("self/comm", "web\n");
  fProc.makeFile("17x/comm", "web\n");
  EXPECT_EQ(find("web"), PResult::ok);
  EXPECT_THAT(fPids, ElementsAre(9, 12, 15, 100));
  EXPECT_THAT(fParents, ElementsAre(1, 1, 1, 9));

  EXPECT_EQ(find("nothing"), PResult::notFound);
  EXPECT_THAT(fPids, IsEmpty());
  EXPECT_THAT(fParents, IsEmpty());
}

TEST_F(FinderTest, LongNamesAreConfirmed) {
  const std::string name = "a-rather-long-name";
  const std::string comm = name.substr(0, 15);
  fProc.add(5, {.comm = comm, .commandLine = "/usr/bin/" + name + "\0-x\0"s});
  fProc.add(6, {.comm = comm, .commandLine = "/bin/sh\0-p\0/opt/"s + name + "\0"s});
  fProc.add(7, {.comm = comm, .commandLine = "/usr/bin/a-rather-long-other\0"s});
  fProc.add(8, {.comm = comm, .commandLine = "/bin/sh\0-x\0-c\0"s + name + "\0"s});
  fProc.add(9, {.comm = "vi", .commandLine = "vi\0"s + name + "\0"s});
  fProc.add(10, {.comm = comm});
  std::filesystem::create_symlink("/opt/" + name + " (deleted)", fProc.path("10/exe"));
  fProc.add(11, {.comm = name});  // a kernel thread's name may be longer
  EXPECT_EQ(find(name), PResult::ok);
  EXPECT_THAT(fPids, ElementsAre(5, 6, 10, 11));
  EXPECT_EQ(find(comm), PResult::ok);
  EXPECT_THAT(fPids, ElementsAre(5, 6, 7, 8, 10));
}

TEST_F(FinderTest, ATableThatCannotBeReadIsNotAnEmptyOne) {
  fProc.add(5, {.comm = "web"});
  // Local, because a sanitizer's look at the fixture would need a descriptor.
  ProcessFinder& finder = fFinder;
  Pids pids;
  Pids parents;
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const int res = finder.find("web", pids, parents);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(res, -EMFILE);
  EXPECT_THAT(pids, IsEmpty());

  std::filesystem::remove(fProc.path("5/stat"));
  std::filesystem::create_directory(fProc.path("5/stat"));
  EXPECT_EQ(find("web"), -EISDIR);

  std::filesystem::remove_all(fProc.path());
  EXPECT_EQ(find("web"), -ENOENT);
}

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

TEST(CommandLineTest, SplitsPlainWordsAndQuotes) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {"", {}},
      {"  \t\n ", {}},
      {"-g  'daemon off;'\t-c x", {"-g", "daemon off;", "-c", "x"}},
      {R"(a"b c"d'e f'g)", {"ab cde fg"}},
      {R"("" '')", {"", ""}},
      {R"(a\ b \"c\' \\)", {"a b", "\"c'", "\\"}},
      {R"("a\"b\\c\d\$e" 'f\g')", {"a\"b\\c\\d$e", "f\\g"}},
      {"$HOME *.c ~ a;b|c #d `e`", {"$HOME", "*.c", "~", "a;b|c", "#d", "`e`"}},
  };
  std::vector<std::string> words;
  for (auto const& [text, expected] : cases) {
    EXPECT_TRUE(splitCommandLine(text, words)) << text;
    EXPECT_EQ(words, expected) << text;
  }
  for (auto const* text : {"'a", "a \"b", "a\\", R"("a\")"}) {
    EXPECT_FALSE(splitCommandLine(text, words)) << text;
  }
}

}  // namespace
