// What is made of the texts that describe processes and programs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/process/CommandLine.h"
#include "host/process/CpuMeter.h"
#include "tests/host/process/FakeProc.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

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

TEST(ProcessStatTest, StatesAreJudged) {
  for (auto const& [state, threads, isRunning, isDead] : {std::tuple{'R', 1U, true, false},
                                                          {'S', 1U, true, false},
                                                          {'D', 1U, true, false},
                                                          {'I', 1U, true, false},
                                                          {'T', 1U, false, false},
                                                          {'t', 1U, false, false},
                                                          {'Z', 2U, false, false},
                                                          {'Z', 1U, false, true},
                                                          {'X', 2U, false, true}}) {
    const ProcessStat stat{.comm = "x", .state = state, .threadCount = threads};
    EXPECT_EQ(stat.isRunning(), isRunning) << state;
    EXPECT_EQ(stat.isDead(), isDead) << state << threads;
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
