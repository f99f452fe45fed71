// Looks at the process table, by reading all of it and by the kernel's reports.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <random>
#include <set>

#include "framework/PResult.h"
#include "host/process/ProcessFinder.h"
#include "tests/host/process/FakeProc.h"
#include "tests/host/process/ScriptedClock.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;

using Pids = std::vector<unsigned int>;

struct Script {
  Pids events;
  bool isLost = false;
  int listeners = 0;
};

class ScriptedEvents : public IProcessEvents {
 public:
  explicit ScriptedEvents(Script& script) : fScript(script) { ++fScript.listeners; }
  bool take(Pids& pids) override {
    pids = std::exchange(fScript.events, {});
    return !std::exchange(fScript.isLost, false);
  }

 private:
  Script& fScript;
};

/// A made table with a life of its own, and what it should be seen as.
class Machine {
 public:
  /// Something happens to one process: it starts, changes its name, gives its number
  /// to another, or dies, sometimes without being reaped.
  unsigned int happen() {
    const auto pid = static_cast<unsigned int>(1 + fRandom() % 40);
    if (!fProcesses.contains(pid) || fRandom() % 3 != 0) {
      return start(pid, kNames.at(fRandom() % kNames.size()));
    }
    return end(pid, fRandom() % 2 == 0);
  }

  unsigned int start(unsigned int pid, std::string const& comm) {
    fProcesses[pid] = {.comm = comm, .startTicks = ++fTime};
    fProc.add(pid, fProcesses[pid]);
    fZombies.erase(pid);
    return pid;
  }

  unsigned int end(unsigned int pid, bool isReaped) {
    fProcesses[pid].state = 'Z';
    fProc.add(pid, fProcesses[pid]);
    fZombies.insert(pid);
    fProcesses.erase(pid);
    if (isReaped) fProc.remove(pid);
    return pid;
  }

  Pids endAll() {
    Pids ended;
    while (!fProcesses.empty()) ended.push_back(end(fProcesses.begin()->first, false));
    return ended;
  }

  /// Reaping is nothing that the kernel reports.
  void reap() {
    for (const unsigned int pid : fZombies) fProc.remove(pid);
    fZombies.clear();
  }

  Pids bearing(std::string const& name) const {
    Pids pids;
    for (auto const& [pid, process] : fProcesses) {
      if (process.comm == name) pids.push_back(pid);
    }
    return pids;
  }

  static inline const std::vector<std::string> kNames = {"web", "db", "mail", "one more name"};
  FakeProc fProc;
  std::mt19937 fRandom{42};

 private:
  std::map<unsigned int, FakeProcess> fProcesses;
  std::set<unsigned int> fZombies;
  unsigned long long fTime = 100;
};

/// One pair of eyes on a table.
struct Eyes {
  explicit Eyes(FakeProc const& proc, std::size_t descriptors = 8,
                ListenToEvents const& listen = {})
      : tree(proc.path()), budget(descriptors), names(tree, budget, listen) {}

  int find(std::string const& name) { return finder.find(name, pids, parents); }

  ProcessTree tree;
  ScriptedClock clock;
  DescriptorBudget budget;
  ProcessNames names;
  KnownProcesses known{tree, clock, budget, 100};
  ProcessFinder finder{tree, clock, names, known};
  Pids pids;
  Pids parents;
};

std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

TEST(LookTest, HoweverItLooksItSeesWhatIsThere) {
  Machine machine;
  for (int i = 0; i < 30; ++i) machine.happen();
  const auto before = openDescriptors();
  Script script;
  Eyes byDescriptors(machine.fProc, 30);
  Eyes byOpening(machine.fProc, 0);
  Eyes byEvents(machine.fProc, 30, [&] { return std::make_unique<ScriptedEvents>(script); });
  const auto look = [&](std::initializer_list<Eyes*> several) {
    for (auto const& name : Machine::kNames) {
      for (Eyes* eyes : several) {
        eyes->find(name);
        if (eyes->pids != machine.bearing(name)) return false;
      }
    }
    return true;
  };
  std::ptrdiff_t mostOpen = 0;
  for (int pass = 0; pass < 500; ++pass) {
    for (auto left = machine.fRandom() % 6; left > 0; --left) {
      script.events.push_back(machine.happen());
    }
    if (machine.fRandom() % 4 == 0) machine.reap();
    script.isLost = pass % 20 == 7;
    if (script.isLost) script.events.clear();
    ASSERT_TRUE(look({&byDescriptors, &byOpening, &byEvents})) << "pass " << pass;
    mostOpen = std::max(mostOpen, openDescriptors());
  }

  EXPECT_EQ(mostOpen, before + 60) << "as many as two may keep";

  script.events = machine.endAll();
  EXPECT_TRUE(look({&byDescriptors, &byOpening, &byEvents})) << "zombies";
  machine.reap();
  EXPECT_TRUE(look({&byDescriptors, &byOpening, &byEvents}));
  EXPECT_EQ(openDescriptors(), before) << "nothing is kept of the dead";

  machine.start(77, "web");  // unreported
  EXPECT_FALSE(look({&byEvents}));
  for (int pass = 0; pass < 256; ++pass) look({&byEvents});
  EXPECT_TRUE(look({&byEvents})) << "nothing is overlooked for ever";

  for (int pass = 0; pass < 8; ++pass) {
    script.isLost = true;
    EXPECT_TRUE(look({&byEvents}));
  }
  machine.start(78, "web");
  EXPECT_TRUE(look({&byEvents})) << "after so many losses nobody listens any more";
  for (int pass = 0; pass < 256; ++pass) look({&byEvents});
  EXPECT_EQ(script.listeners, 2) << "but it is tried again";
}

TEST(LookTest, LongNamesAreConfirmed) {
  FakeProc proc;
  Eyes eyes(proc);
  const std::string name = "a-rather-long-name";
  const std::string comm = name.substr(0, 15);
  proc.add(5, {.comm = comm, .parentPid = 4, .commandLine = "/usr/bin/" + name + "\0-x\0"s});
  proc.add(6, {.comm = comm, .commandLine = "/bin/sh\0-p\0/opt/"s + name + "\0"s});
  proc.add(7, {.comm = comm, .commandLine = "/usr/bin/a-rather-long-other\0"s});
  proc.add(8, {.comm = comm, .commandLine = "/bin/sh\0-x\0-c\0"s + name + "\0"s});
  proc.add(9, {.comm = "vi", .commandLine = "vi\0"s + name + "\0"s});
  proc.add(10, {.comm = comm});
  std::filesystem::create_symlink("/opt/" + name + " (deleted)", proc.path("10/exe"));
  proc.add(11, {.comm = name});  // a kernel thread's name may be longer
  proc.add(12, {.comm = "two\nlines"});
  proc.makeFile("12/stat", statText(12, {.comm = "two\\nlines"}));  // as some kernels write it
  EXPECT_EQ(eyes.find("two\nlines"), PResult::ok);
  EXPECT_EQ(eyes.find(name), PResult::ok);
  EXPECT_THAT(eyes.pids, ElementsAre(5, 6, 10, 11));
  EXPECT_THAT(eyes.parents, ElementsAre(4, 1, 1, 1));
  EXPECT_EQ(eyes.find(comm), PResult::ok);
  EXPECT_THAT(eyes.pids, ElementsAre(5, 6, 7, 8, 10));
}

TEST(LookTest, ATableThatCannotBeReadIsNotAnEmptyOne) {
  FakeProc proc;
  Eyes eyes(proc, 0);
  const std::string longName = "a-rather-long-name";
  for (auto const* file : {"comm", "stat", "cmdline"}) {
    proc.add(5, {.comm = longName.substr(0, 15)});
    std::filesystem::remove(proc.path("5/") + file);
    std::filesystem::create_directory(proc.path("5/") + file);
    EXPECT_EQ(eyes.find(longName), -EISDIR) << file;
    std::filesystem::remove_all(proc.path("5"));
  }
  std::filesystem::remove_all(proc.path());
  EXPECT_EQ(eyes.find(longName), -ENOENT);
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
  Pids pids;
  EXPECT_TRUE(kernel->take(pids));
  EXPECT_EQ(std::count(pids.begin(), pids.end(), pid), 3) << "forked, executed, ended";

  constexpr int kMoreThanItHolds = 6'000;
  for (int i = 0; i < kMoreThanItHolds; ++i) fork([] {});
  EXPECT_FALSE(kernel->take(pids)) << "what was lost must not go unnoticed";
  fork([] {});
  EXPECT_TRUE(kernel->take(pids)) << "and is lost once only";
}

}  // namespace
