// Looks at the process table, by reading all of it and by the kernel's reports.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <random>

#include "framework/PResult.h"
#include "host/process/ProcessFinder.h"
#include "tests/host/process/FakeProc.h"
#include "tests/host/process/ScriptedClock.h"

namespace {

using testing::ElementsAreArray;
using Pids = std::vector<unsigned int>;

class ScriptedEvents : public IProcessEvents {
 public:
  bool take(std::vector<ProcessEvent>& events) override {
    events = std::exchange(fEvents, {});
    return !std::exchange(fIsLost, false);
  }
  std::vector<ProcessEvent> fEvents;
  bool fIsLost = false;
};

/// A made table with a life of its own, and what it should be seen as.
class Machine {
 public:
  /// Something happens to one process: it starts, changes its name, gives its number
  /// to another, or dies, sometimes without being reaped.
  ProcessEvent happen() {
    const auto pid = static_cast<unsigned int>(1 + fRandom() % 40);
    const bool lives = fProcesses.contains(pid);
    const bool isEnd = lives && fRandom() % 3 == 0;
    FakeProcess process{.comm = kNames.at(fRandom() % kNames.size()), .startTicks = ++fTime};
    if (isEnd && fRandom() % 2 == 0) {
      process.state = 'Z';
      fZombies.insert(pid);
    }
    if (isEnd && process.state != 'Z') {
      fProc.remove(pid);
    } else {
      fProc.add(pid, process);
    }
    if (isEnd) {
      fProcesses.erase(pid);
    } else {
      fZombies.erase(pid);
      fProcesses[pid] = process.comm;
    }
    return {pid, isEnd};
  }

  /// Reaping is nothing that the kernel reports.
  void reap() {
    for (const unsigned int pid : fZombies) fProc.remove(pid);
    fZombies.clear();
  }

  Pids bearing(std::string const& name) const {
    Pids pids;
    for (auto const& [pid, comm] : fProcesses) {
      if (comm == name) pids.push_back(pid);
    }
    return pids;
  }

  static inline const std::vector<std::string> kNames = {"web", "db", "mail", "one more name"};
  FakeProc fProc;
  std::mt19937 fRandom{42};

 private:
  std::map<unsigned int, std::string> fProcesses;
  std::set<unsigned int> fZombies;
  unsigned long long fTime = 100;
};

/// One pair of eyes on a table.
struct Eyes {
  Eyes(ProcessTree const& tree, std::size_t descriptors, std::unique_ptr<IProcessEvents> events)
      : budget(descriptors),
        names(tree, budget, std::move(events)),
        known(tree, clock, budget, 100),
        finder(tree, clock, names, known) {}

  ScriptedClock clock;
  DescriptorBudget budget;
  ProcessNames names;
  KnownProcesses known;
  ProcessFinder finder;
};

TEST(LookTest, HoweverItLooksItSeesWhatIsThere) {
  Machine machine;
  const ProcessTree tree(machine.fProc.path());
  auto scripted = std::make_unique<ScriptedEvents>();
  ScriptedEvents& events = *scripted;
  Eyes byDescriptors(tree, 30, nullptr);
  Eyes byOpening(tree, 0, nullptr);
  Eyes byEvents(tree, 30, std::move(scripted));
  Pids pids;
  Pids parents;
  constexpr int kDeaf = 500;   // from here on all reports are lost
  constexpr int kGivenUp = 8;  // after so many losses in a row nobody listens
  for (int pass = 0; pass < kDeaf + 50; ++pass) {
    std::vector<ProcessEvent> happened;
    for (auto left = machine.fRandom() % 6; left > 0; --left) happened.push_back(machine.happen());
    if (machine.fRandom() % 4 == 0) machine.reap();
    if (pass < kDeaf + kGivenUp) {
      events.fIsLost = pass >= kDeaf || (pass < kDeaf - 1 && machine.fRandom() % 20 == 0);
      if (!events.fIsLost) events.fEvents = std::move(happened);
    }
    for (auto const& name : Machine::kNames) {
      for (Eyes* eyes : {&byDescriptors, &byOpening, &byEvents}) {
        eyes->finder.find(name, pids, parents);
        ASSERT_THAT(pids, ElementsAreArray(machine.bearing(name))) << name << ", pass " << pass;
      }
    }
  }
}

TEST(LookTest, TenThousandProcessesFitIntoFewDescriptors) {
  FakeProc proc;
  for (unsigned int pid = 1; pid <= 10'000; ++pid) {
    const std::string folder = std::to_string(pid) + "/";
    const FakeProcess process{.comm = "prog-" + std::to_string(pid % 100)};
    proc.makeFile(folder + "comm", process.comm + "\n");
    proc.makeFile(folder + "stat", statText(pid, process));
  }
  const auto openDescriptors = [] {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  };
  const auto before = openDescriptors();
  const ProcessTree tree(proc.path());
  Eyes eyes(tree, 100, nullptr);
  Pids pids;
  Pids parents;
  for (int pass = 0; pass < 2; ++pass) {
    for (const auto* name : {"prog-7", "prog-99"}) {
      EXPECT_EQ(eyes.finder.find(name, pids, parents), PResult::ok);
      EXPECT_EQ(pids.size(), 100U);
      EXPECT_EQ(pids.front() % 100, static_cast<unsigned int>(std::stoi(name + 5)));
    }
    EXPECT_EQ(openDescriptors(), before + 100);
  }
}

TEST(LookTest, TheKernelReportsWhatHappens) {
  const auto kernel = listenToKernel();
  if (kernel == nullptr) GTEST_SKIP() << "the kernel does not report to this process";
  const auto fork = [](auto&& live) {
    const pid_t child = ::fork();
    if (child == 0) {
      live();
      ::_exit(1);
    }
    ::waitpid(child, nullptr, 0);
    return static_cast<unsigned int>(child);
  };
  const unsigned int pid = fork([] { ::execl("/bin/true", "true", nullptr); });
  std::vector<ProcessEvent> events;
  EXPECT_TRUE(kernel->take(events));
  std::vector<bool> ends;
  for (auto const& event : events) {
    if (event.pid == pid) ends.push_back(event.isEnd);
  }
  EXPECT_THAT(ends, testing::ElementsAre(false, false, true));

  constexpr int kMoreThanItHolds = 6'000;
  for (int i = 0; i < kMoreThanItHolds; ++i) fork([] {});
  EXPECT_FALSE(kernel->take(events)) << "what was lost must not go unnoticed";
  events.clear();
  EXPECT_TRUE(kernel->take(events)) << "and is lost once only";
}

}  // namespace
