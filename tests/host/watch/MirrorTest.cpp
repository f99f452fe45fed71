// What the board makes of the watchdog's calls, beside what the watchdog says itself.

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <random>
#include <regex>

#include "host/entries/EntrySettings.h"
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
  Mirror() { Runtime::install(std::make_shared<ObservedUtilities>(fUtilities, fBoard)); }
  ~Mirror() override { Runtime::reset(); }

  struct Watch {
    std::string on;          ///< c, m, i, r(espawn); d(ifferent parents), (ru)n(ning)
    unsigned int limit = 0;  ///< of CPU, memory and instances
    ProcessWatchdogActionEnum action = terminate;
    int respawnLimit = 0;
    unsigned int period = 0;
  };
  void watch(const wchar_t* name, Watch const& watch) {
    const auto isOn = [&](char what) { return watch.on.find(what) != std::string::npos; };
    const Entry entry = newEntry(name);
    entry->setPeriod(watch.period);
    entry->setCpuEnabled(isOn('c'));
    entry->setMemEnabled(isOn('m'));
    entry->setInstEnabled(isOn('i'));
    entry->setRespawnEnabled(isOn('r'));
    entry->setShouldCountOnlyDiffParents(isOn('d'));
    entry->setShouldCountOnlyRunning(isOn('n'));
    entry->setCpuLimit(static_cast<char>(watch.limit));
    entry->setMemLimit(watch.limit);
    entry->setInstLimit(watch.limit);
    entry->setRespawnLimit(watch.respawnLimit);
    entry->setAction(watch.action);
    EXPECT_EQ(service()->addProcessEntry(entry.get()), 0);
    fBoard->put(readSettings(*entry));
  }

  void changeProcesses() {
    auto const below = [this](unsigned int end) { return fUtilities->below(end); };
    for (const char* name : {"again", "both", "cpu", "each", "number"}) {
      processes[name].clear();
      for (unsigned int pid = 10; pid < 15; ++pid) {
        if (below(4) == 0) continue;
        processes[name].push_back({pid, 9 + below(4), below(100), below(100), below(3) > 0});
      }
    }
  }

  /// Of each reason in the records of acts: the entry, what is wrong, the numbers that
  /// are logged. The acts on several instances are one; a start that follows its kill
  /// is left out.
  std::string recorded() {
    std::string all, last;
    const auto batch = fJournal->read(fNext, 1000);
    fNext = batch.next;
    for (WatchRecord const& record : batch.records) {
      if (record.text.starts_with("restart: ")) continue;
      const bool isAverage = record.text.find("average") != std::string::npos;
      const std::string pid = isAverage ? fmt::format(" {}", *record.pid) : "";
      const std::string line =
          record.entry + pid + ": " + record.text.substr(0, record.text.find(" over ")) + '\n';
      if (isAverage || line != last) all += line;
      last = line;
    }
    return all;
  }

  /// The same from what the watchdog logs, in the words of the records.
  static std::string logged(std::string log) {
    const std::vector<std::pair<const char*, const char*>> rewritings = {
        {".*CPU too high .average=(.*), limit=(.*).  ?for .*`(.*)', pid (\\d+).*",
         "$3 $4: CPU average $1 of at most $2 percent"},
        {".*Memory too high .average=(.*), limit=(.*). for .*`(.*)', pid (\\d+).*",
         "$3 $4: memory average $1 of at most $2 KiB"},
        {".*count too high .current=(.*), limit=(.*). for .*`(.*)'.*",
         "$3: $1 instances count, $2 are too many"},
        {".*count too Low .current=(.*), limit=(.*). for .*`(.*)'.*",
         "$3: $1 instances count, $2 are wanted"},
        {"info .*\n", ""},
        {"^\n", ""},
        {": 1 instances count", ": 1 instance counts"},
        {", 1 are", ", 1 is"}};
    for (auto const& [said, meant] : rewritings) {
      log = std::regex_replace(log, std::regex(said), meant);
    }
    return log;
  }

  std::vector<InstanceView> each() const { return fBoard->view().entries.at(3).instances; }

  /// Holds the windows of `each` around a pass beside what was logged in it. Its limit is
  /// always reached, so that is the end of every window.
  void compareWindows(std::vector<InstanceView> const& before, std::chrono::milliseconds duration,
                      std::string const& log) {
    for (InstanceView const& is : each()) {
      const auto was = std::ranges::find(before, is.pid, &InstanceView::pid);
      if (was == before.end()) continue;
      const auto [samples, age, average, memory] = was->window;
      std::smatch match;
      if (std::regex_search(log, match,
                            std::regex(fmt::format("age=(\\d+), .* `each', pid {}'", is.pid)))) {
        ++fWindowsOver;
        EXPECT_GE(age + duration, std::chrono::seconds(3));
        EXPECT_EQ(is.window.samples, 0U);
        // The average is rounded down, so its sum is known to within the samples.
        const auto more = std::stoul(match[1]) * (samples + 1) - average * samples;
        EXPECT_NEAR(int(more), int(is.cpuPercent.value_or(0)), int(samples));
      } else if (is.window.samples > 1) {  // else another's window has ended it
        EXPECT_LT(age, std::chrono::seconds(3));
        EXPECT_EQ(is.window.samples, samples + 1);
        EXPECT_EQ(is.window.age, age + duration);
      }
    }
  }

  std::shared_ptr<RandomUtilities> fUtilities = std::make_shared<RandomUtilities>();
  std::shared_ptr<RecordJournal> fJournal = std::make_shared<RecordJournal>();
  std::shared_ptr<WatchBoard> fBoard =
      std::make_shared<WatchBoard>(fJournal, std::make_shared<TickClock>());
  std::uint64_t fNext = 1;
  std::size_t fWindowsOver = 0;
};

TEST_F(Mirror, HasTheWindowsAndTheReasonsThatTheWatchdogHas) {
  std::size_t compared = 0;
  for (int pass = 0; pass < 400; ++pass) {
    if (pass % 200 == 0) {
      fPlugin = nullptr;
      fBoard->beginAnew();
      fPlugin = veskGetPlugin();
      start();
      watch(L"again", {.on = "cr", .limit = 60, .action = restart, .respawnLimit = 3, .period = 2});
      watch(L"both", {.on = "cm", .limit = 40, .action = terminate, .period = 3});
      watch(L"cpu", {.on = "c", .limit = 50, .action = terminate, .period = 1});
      watch(L"each", {.on = "c", .limit = 0, .action = terminate, .period = 3});
      watch(L"number",
            {.on = "imrdn", .limit = 2, .action = terminate, .respawnLimit = 1, .period = 4});
    }
    changeProcesses();
    now += 800 + fUtilities->below(400);
    const auto before = each();
    const auto begun = now;
    const std::string log = tickAfter(0, "info");
    const std::string said = logged(log);
    ASSERT_EQ(recorded(), said) << "pass " << pass << log;
    compareWindows(before, std::chrono::milliseconds(now - begun), log);
    ASSERT_FALSE(HasFailure()) << "pass " << pass << log;
    compared += static_cast<std::size_t>(std::ranges::count(said, '\n'));
  }
  EXPECT_GT(compared, 500U);
  EXPECT_GT(fWindowsOver, 50U);
  EXPECT_EQ(fBoard->view().pass.count, 400U);
  EXPECT_THAT(fBoard->doubtful(), testing::IsEmpty());
}

}  // namespace
