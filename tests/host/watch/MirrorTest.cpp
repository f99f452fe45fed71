// What the board makes of the watchdog's calls, beside what the watchdog says itself.

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <random>
#include <regex>
#include <sstream>

#include "framework/PUtils.h"
#include "host/libvesk/Runtime.h"
#include "host/watch/ObservedUtilities.h"
#include "tests/plugin/PluginFixture.h"

namespace {

struct TickClock : IWatchClock {
  std::chrono::microseconds monotonic() const override {
    return std::chrono::milliseconds(framework().now);
  }
  WallTime wall() const override { return {}; }
};

/// The framework's processes, each reading of which takes a while and may fail.
class RandomUtilities : public IProcessUtilities {
 public:
  unsigned int below(unsigned int end) {
    return std::uniform_int_distribution<unsigned int>(0, end - 1)(fRandom);
  }
  int find(std::string const& name, std::vector<unsigned int>& pids,
           std::vector<unsigned int>& parentPids) override {
    for (auto const& process : framework().processes[name]) {
      pids.push_back(process.pid);
      parentPids.push_back(process.parent);
      framework().found[process.pid] = process;
    }
    return pids.empty() ? PResult::notFound : PResult::ok;
  }
  int getCPUUsage(unsigned int pid, unsigned int& percent) override {
    return read(percent, framework().found[pid].cpu);
  }
  int getMemoryUsage(unsigned int pid, unsigned long long& kib) override {
    return read(kib, framework().found[pid].mem);
  }
  int isRunning(unsigned int pid, bool& running) override {
    return read(running, framework().found[pid].running);
  }
  int kill(unsigned int) override { return below(4) == 0 ? PResult::notFound : PResult::ok; }
  int start(std::string const&, std::string const&, std::string const&, unsigned int&) override {
    return PResult::ok;
  }

 private:
  template <class Type>
  int read(Type& out, Type value) {
    framework().now += below(4);
    if (below(10) == 0) return -EIO;
    out = value;
    return PResult::ok;
  }
  std::mt19937 fRandom{7};
};

class Mirror : public PluginFixture {
 protected:
  Mirror() {
    Runtime::install(std::make_shared<ObservedUtilities>(fUtilities, fBoard));
  }
  ~Mirror() override { Runtime::reset(); }

  void watch(const wchar_t* name, Watch const& watch) {
    const auto isOn = [&](char what) { return watch.on.find(what) != std::string::npos; };
    const auto entry = monitor(watch, name);
    EntrySettings settings;
    settings.name = PUtils::toUtf8(PLiteral(name));
    settings.period = watch.period;
    settings.cpuEnabled = isOn('c');
    settings.memEnabled = isOn('m');
    settings.instEnabled = isOn('i');
    settings.respawnEnabled = isOn('r');
    settings.countOnlyDiffParents = isOn('d');
    settings.countOnlyRunning = isOn('n');
    settings.cpuLimit = watch.limit;
    settings.memLimit = settings.instLimit = watch.limit;
    settings.respawnLimit = watch.respawnLimit;
    settings.action = watch.action == restart ? "restart" : "terminate";
    fBoard->put(settings);
    fNames.push_back(settings.name);
  }

  void changeProcesses() {
    auto const below = [this](unsigned int end) { return fUtilities->below(end); };
    for (std::string const& name : fNames) {
      processes[name].clear();
      for (unsigned int pid = 10; pid < 15; ++pid) {
        if (below(4) == 0) continue;
        processes[name].push_back({pid, 9 + below(4), below(100), below(100), below(3) > 0});
      }
    }
  }

  /// The reasons in the records of acts, without the numbers of samples; the acts on
  /// several instances are one. A start that follows its kill is left out.
  std::string recorded() {
    std::string all;
    std::string last;
    auto batch = fJournal->read(fNext, 1000);
    fNext = batch.next;
    for (WatchRecord const& record : batch.records) {
      if (record.text.starts_with("restart: ")) continue;
      const bool isAverage = record.text.find("average") != std::string::npos;
      const std::string line =
          fmt::format("{} {} {}\n", record.entry, isAverage ? record.pid.value_or(0) : 0,
                      std::regex_replace(record.text, std::regex(" over \\d+ samples?$"), ""));
      if (isAverage || line != last) all += line;
      last = line;
    }
    return all;
  }

  /// The same from what the watchdog logs.
  static std::string logged(std::string const& log) {
    const std::regex average(
        ".*(CPU|Memory) too high \\(average=(\\d+), limit=(\\d+)\\) .* `(.*)', pid (\\d+).*");
    const std::regex count(
        ".*count too (high|Low) \\(current=(\\d+), limit=(\\d+)\\) .* `(.*)', .*");
    std::istringstream lines(log);
    std::string all;
    std::smatch m;
    for (std::string line; std::getline(lines, line);) {
      const auto one = [&m](std::size_t group) { return m[group] == "1"; };
      if (std::regex_match(line, m, average)) {
        const bool isCpu = m[1] == "CPU";
        all += fmt::format("{} {} {} average {} of at most {} {}\n", m[4].str(), m[5].str(),
                           isCpu ? "CPU" : "memory", m[2].str(), m[3].str(),
                           isCpu ? "percent" : "KiB");
      } else if (std::regex_match(line, m, count)) {
        all += fmt::format("{} 0 {} {}, {} {} {}\n", m[4].str(), m[2].str(),
                           one(2) ? "instance counts" : "instances count", m[3].str(),
                           one(3) ? "is" : "are", m[1] == "high" ? "too many" : "wanted");
      }
    }
    return all;
  }

  std::shared_ptr<RandomUtilities> fUtilities = std::make_shared<RandomUtilities>();
  std::shared_ptr<RecordJournal> fJournal = std::make_shared<RecordJournal>();
  std::shared_ptr<WatchBoard> fBoard =
      std::make_shared<WatchBoard>(fJournal, std::make_shared<TickClock>());
  std::vector<std::string> fNames;
  std::uint64_t fNext = 1;
};

TEST_F(Mirror, GivesTheReasonsThatTheWatchdogHas) {
  start();
  watch(L"again", {.on = "cr", .limit = 60, .action = restart, .respawnLimit = 3, .period = 2});
  watch(L"both", {.on = "cm", .limit = 40, .action = terminate, .period = 3});
  watch(L"cpu", {.on = "c", .limit = 50, .action = terminate, .period = 1});
  watch(L"number",
        {.on = "imrdn", .limit = 2, .action = terminate, .respawnLimit = 1, .period = 4});
  std::size_t compared = 0;
  for (int pass = 0; pass < 400; ++pass) {
    changeProcesses();
    const std::string log = tickAfter(800 + fUtilities->below(400), "info");
    const std::string said = logged(log);
    ASSERT_EQ(recorded(), said) << "pass " << pass << log;
    compared += static_cast<std::size_t>(std::ranges::count(said, '\n'));
  }
  EXPECT_GT(compared, 500U);
  EXPECT_EQ(fBoard->view().pass.count, 400U);
}

}  // namespace
