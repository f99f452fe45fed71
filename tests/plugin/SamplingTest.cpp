// One pass: what is found, read, counted, and kept over a window.

#include <cstring>

#include "tests/plugin/PluginFixture.h"

namespace {

class Sampling : public PluginFixture {
 protected:
  void SetUp() override { start(); }

  /// Monitors "web" so that every window that closes shows its average.
  Entry averageOver(unsigned int period) {
    return monitor([period](E& entry) {
      entry.setPeriod(period);
      entry.setCpuEnabled(true);
    });
  }
  std::string averagesAfter(long long milliseconds) {
    return tickAfter(milliseconds, {"info [__takeCpuAction]", "error"}, true);
  }
  static std::string average(int percent, int pid) {
    return "\ninfo [__takeCpuAction] CPU too high (average=" + std::to_string(percent) +
           ", limit=0) for process `web', pid " + std::to_string(pid) + "'\n";
  }
};

TEST_F(Sampling, FirstClosedWindowEndsTheWindowsOfAllProcesses) {
  averageOver(2);
  auto& web = fFramework.processes["web"] = {{20, 1, 10}, {10, 1, 50}, {30, 1, 7}};
  EXPECT_EQ(averagesAfter(0), "");
  web[0].cpu = 20;
  EXPECT_EQ(averagesAfter(1000), "");
  web[0].cpu = 61;
  // 20 closes with this sample. 10 and 30, whose windows are full too, begin anew
  // in this very pass.
  EXPECT_EQ(averagesAfter(1000), average((10 + 20 + 61) / 3, 20));
  web[1].cpu = 70;
  EXPECT_EQ(averagesAfter(1000), "") << "20 begins its next window only now";
  EXPECT_EQ(averagesAfter(1000), average((50 + 70 + 70) / 3, 10));
  EXPECT_EQ(averagesAfter(1999), "") << "30 began anew in the tick before";
  EXPECT_EQ(averagesAfter(1), average(7, 30));
}

TEST_F(Sampling, WindowRunsFromItsOwnReadingOfTheClock) {
  const Entry entry = averageOver(4294968);  // 704 ms, the product being one of 32 bits
  fFramework.processes["web"] = {{10, 1, 40}};
  fFramework.tickStep = 1;
  EXPECT_EQ(averagesAfter(0), "");  // read at 0 for the sample, at 1 for the window
  EXPECT_EQ(averagesAfter(702), "") << "703 ms after the window began";
  EXPECT_EQ(averagesAfter(0), average(40, 10)) << "and 704";
  entry->setPeriod(0);
  EXPECT_EQ(averagesAfter(0), "") << "the window begins after the sample's reading";
  EXPECT_EQ(averagesAfter(0), average(40, 10));
}

TEST_F(Sampling, AVanishedProcessLeavesItsSamplesToItsNumber) {
  const Entry entry = averageOver(3);
  entry->setRespawnEnabled(true);  // a pass with nothing found still runs
  entry->setRespawnLimit(0);
  fFramework.processes["web"] = {{10, 1, 30}};
  EXPECT_EQ(averagesAfter(0), "");
  fFramework.processes["web"] = {};
  EXPECT_EQ(averagesAfter(5000), "");
  fFramework.processes["web"] = {{10, 1, 90}};
  EXPECT_EQ(averagesAfter(0), average(60, 10));
  EXPECT_EQ(averagesAfter(2999), "");
  EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  EXPECT_EQ(service()->addProcessEntry(entry.get()), 0);
  EXPECT_EQ(averagesAfter(1), "") << "an entry added again begins anew";
}

TEST_F(Sampling, AFailedReadingCountsWithWhatItLeft) {
  const Entry entry = averageOver(1);
  entry->setMemEnabled(true);
  entry->setMemLimit(5'000'000'000ULL);
  auto& process = fFramework.processes["web"] = {{10, 1, 81, 9'999'999'999ULL}};
  EXPECT_EQ(averagesAfter(0), "");
  process[0].cpu = 0;
  process[0].mem = 1;
  fFramework.results = {{"getCPUUsage", -5}, {"getMemoryUsage", -6}};
  EXPECT_EQ(tickAfter(1000, {"error", "info [__take"}, true), R"(
error [__getEntryCpuUsageForPid] Error obtaining the CPU usage of process 10, res=-5
error [__getEntryMemUsageForPid] Error obtaining the memory usage of process 10, res=-6
info [__takeCpuAction] CPU too high (average=40, limit=0) for process `web', pid 10'
info [__takeMemAction] Memory too high (average=5000000000, limit=5000000000) for process `web', pid 10
)");
}

TEST_F(Sampling, LooksAtEveryEntryByItsPresentName) {
  const auto instances = [](E& entry) { entry.setInstEnabled(true); };
  const Entry renamed = monitor(instances, L"a");
  monitor(instances, L"b");
  monitor(instances, L"c");
  monitor(instances, L"d");
  renamed->setName(L"z");
  fFramework.processes["d"] = {{10}};
  fFramework.results = {{"find c", -5}};
  EXPECT_EQ(tickAfter(0), R"(
find z
find b
find c
error [__updateEntries] Error obtaining process IDs for process `c', res=-5
find d
isRunning 10
info [__takeInstAction] Instance count too high (current=1, limit=0) for process `d', taking action none
postEvent event.watchdog.process.inst_high d 1
increment wd_proc_count
wait 2000
)");
}

TEST_F(Sampling, ReadsAndJudgesOnlyWhatIsSwitchedOn) {
  const struct {
    const char* service;  ///< what is on: CPU, memory, instances
    const char* entry;    ///< likewise, and respawn
    const char* journal;
  } rows[] = {
      {"cmi", "", ""},
      {"cmi", "c", "\ngetCPUUsage 10\npostEvent event.watchdog.process.cpu_high web 10\n"},
      {"cmi", "m", "\ngetMemoryUsage 10\npostEvent event.watchdog.process.mem_high web 10\n"},
      {"cmi", "i", "\nisRunning 10\npostEvent event.watchdog.process.inst_high web 1\n"},
      {"cmi", "r", "\nisRunning 10\nstart /bin/web|-x|/srv\n"},
      {"mi", "cr", "\nisRunning 10\nstart /bin/web|-x|/srv\n"},
      {"ci", "mi", "\nisRunning 10\npostEvent event.watchdog.process.inst_high web 1\n"},
      {"cm", "cir", "\ngetCPUUsage 10\npostEvent event.watchdog.process.cpu_high web 10\n"},
  };
  fFramework.processes["web"] = {{10, 1, 90, 90}};
  for (auto const& row : rows) {
    const auto isOn = [&row](char what) { return std::strchr(row.service, what) != nullptr; };
    fFramework.config["watchdog.process.cpu_enabled"] = isOn('c');
    fFramework.config["watchdog.process.mem_enabled"] = isOn('m');
    fFramework.config["watchdog.process.inst_enabled"] = isOn('i');
    start();
    monitor([&row](E& entry) {
      entry.setCpuEnabled(std::strchr(row.entry, 'c') != nullptr);
      entry.setMemEnabled(std::strchr(row.entry, 'm') != nullptr);
      entry.setInstEnabled(std::strchr(row.entry, 'i') != nullptr);
      entry.setRespawnEnabled(std::strchr(row.entry, 'r') != nullptr);
    });
    EXPECT_EQ(tickAfter(0, {"isRunning", "get", "postEvent", "start"}, true), row.journal);
  }
}

TEST_F(Sampling, CountsInstances) {
  const struct {
    const char* rules;  ///< (d)ifferent parents, (r)unning
    std::vector<ScriptedFramework::Process> processes;
    const char* count;
  } rows[] = {
      {"", {{10, 1}, {11, 10, 0, 0, false}, {13, 1}}, "current=2"},  // 13 cannot be read
      {"r", {{10, 1, 0, 0, false}, {11, 10}}, "current=1"},
      {"d", {{12, 11}, {11, 10}, {10, 1}}, "current=1"},
      {"d", {{10, 1}, {11, 2}, {12, 2}}, "current=3"},
      {"dr", {{10, 1, 0, 0, false}, {11, 10}}, "current=0"},
  };
  fFramework.results = {{"isRunning 13", -8}};
  const Entry entry = monitor([](E& e) { e.setInstEnabled(true); });
  for (auto const& row : rows) {
    entry->setShouldCountOnlyDiffParents(std::strchr(row.rules, 'd') != nullptr);
    entry->setShouldCountOnlyRunning(std::strchr(row.rules, 'r') != nullptr);
    fFramework.processes["web"] = row.processes;
    const std::string journal = tickAfter(0, {"info", "error"}, true);
    EXPECT_NE(journal.find(row.count), std::string::npos) << journal;
    EXPECT_EQ(journal.find("error [__shouldIncrementInstCount] Error obtaining the state of "
                           "process 13, res=-8\n") != std::string::npos,
              row.processes.back().pid == 13);
  }
}

}  // namespace
