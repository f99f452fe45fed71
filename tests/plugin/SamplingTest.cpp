// One pass: what is found, read, counted, and kept over a window.

#include "tests/plugin/PluginFixture.h"

namespace {

class Sampling : public PluginFixture {
 protected:
  std::string averagesAfter(long long milliseconds) {
    return tickAfter(milliseconds, "info \\[__takeCpuAction\\]|error");
  }
  static std::string average(int percent, int pid) {
    return "\ninfo [__takeCpuAction] CPU too high (average=" + std::to_string(percent) +
           ", limit=0) for process `web', pid " + std::to_string(pid) + "'\n";
  }
};

TEST_F(Sampling, FirstClosedWindowEndsTheWindowsOfAllProcesses) {
  start();
  monitor({.on = "c", .period = 4294969});  // 1704 ms, the product being one of 32 bits
  auto& web = processes["web"] = {{20, 1, 10}, {10, 1, 50}, {30, 1, 7}};
  EXPECT_EQ(averagesAfter(0), "");
  web[0].cpu = 20;
  EXPECT_EQ(averagesAfter(1000), "");
  web[0].cpu = 61;
  // 20 closes with this sample; 10 and 30, which are full too, begin anew at once.
  EXPECT_EQ(averagesAfter(704), average((10 + 20 + 61) / 3, 20));
  web[1].cpu = 70;
  EXPECT_EQ(averagesAfter(1000), "") << "20 begins its next window only now";
  EXPECT_EQ(averagesAfter(704), average((50 + 70 + 70) / 3, 10));
  EXPECT_EQ(averagesAfter(1703), "") << "30 began anew in the tick before";
  EXPECT_EQ(averagesAfter(1), average(7, 30));
}

TEST_F(Sampling, AReusedNumberContinuesTheSumsOfWhoVanished) {
  start();
  monitor({.on = "c", .period = 2});
  processes["web"] = {{10, 1, 90}};
  EXPECT_EQ(averagesAfter(0), "");
  processes.clear();
  EXPECT_EQ(averagesAfter(1000), "");
  processes["web"] = {{10, 1, 11}};
  EXPECT_EQ(averagesAfter(1000), average((90 + 11) / 2, 10));
}

TEST_F(Sampling, AFailedReadingCountsWithWhatItLeft) {
  start();
  monitor({.on = "cim", .period = 1})->setMemLimit(5'000'000'000ULL);
  auto& process = processes["web"] = {{10, 1, 81, 9'999'999'999ULL}};
  EXPECT_EQ(averagesAfter(0), "");
  process[0] = {10, 1, 1, 1};
  results = {{"isRunning", -4}, {"getCPUUsage", -5}, {"getMemoryUsage", -6}};
  EXPECT_EQ(tickAfter(1000, "error|info \\[__take.*Action\\] [CM]"), R"(
error [__shouldIncrementInstCount] Error obtaining the state of process 10, res=-4
error [__getEntryCpuUsageForPid] Error obtaining the CPU usage of process 10, res=-5
error [__getEntryMemUsageForPid] Error obtaining the memory usage of process 10, res=-6
info [__takeCpuAction] CPU too high (average=41, limit=0) for process `web', pid 10'
info [__takeMemAction] Memory too high (average=5000000000, limit=5000000000) for process `web', pid 10
)");
}

TEST_F(Sampling, LooksAtEveryEntryByItsPresentName) {
  start();
  for (const wchar_t* name : {L"c", L"d"}) monitor({}, name);
  monitor({}, L"a")->setName(L"z");
  results = {{"find c", -5}};
  EXPECT_EQ(tickAfter(0), R"(
find z
find c
error [__updateEntries] Error obtaining process IDs for process `c', res=-5
find d
wait 2000
)");
}

TEST_F(Sampling, ReadsCountsAndJudgesByTheSwitches) {
  const std::vector<Process> stopped = {{10, 1, 90, 90, false}};
  const std::string counted = " event.watchdog.process.inst_high\n";
  const struct {
    std::string all;    ///< what is on: CPU, memory, instances
    std::string entry;  ///< likewise, with respawn and the rules
    std::vector<Process> processes;
    std::string journal;
  } rows[] = {
      {"cmi", "", stopped, ""},
      {"mi", "cr", stopped, ""},
      {"mi", "cr", {}, "\nstart /bin/web|-x|/srv\n"},
      {"ci", "mi", stopped, "\npostEvent 1" + counted},
      {"cm", "cir", stopped, "\ngetCPUUsage 10\npostEvent 10 event.watchdog.process.cpu_high\n"},
      {"i",
       "i",
       {{10, 1}, {11, 10, 0, 0, false}, {13, 1}},
       "\npostEvent 2" + counted},  // 13 is unreadable
      {"i", "in", {{10, 1, 0, 0, false}, {11, 10}}, "\npostEvent 1" + counted},
      {"i", "id", {{12, 11}, {11, 10}, {10, 1}}, "\npostEvent 1" + counted},
      {"i", "idn", {{10, 1, 0, 0, false}, {11, 10}}, "\npostEvent 0" + counted},
  };
  results = {{"isRunning 13", -8}};
  for (auto const& row : rows) {
    for (const std::string key : {"cpu", "mem", "inst"}) {
      config["watchdog.process." + key + "_enabled"] = row.all.find(key[0]) != std::string::npos;
    }
    start();
    monitor({.on = row.entry, .respawnLimit = 1});
    processes["web"] = row.processes;
    EXPECT_EQ(tickAfter(0, "get|postEvent|start"), row.journal);
  }
}

}  // namespace
