// How processes are judged and whom `kill` signals, on a made process table and with signals that
// only go on record: kernels without process descriptors, numbers that change hands.

#include <gmock/gmock.h>
#include <spdlog/sinks/null_sink.h>

#include <cerrno>
#include <csignal>
#include <functional>

#include "framework/PResult.h"
#include "host/process/ProcessUtilities.h"
#include "tests/host/process/FakeProc.h"
#include "tests/host/process/ScriptedClock.h"

namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using Pids = std::vector<unsigned int>;

class RecordedSignals : public IProcessSignals {
 public:
  int open(unsigned int /*pid*/, UniqueFd& /*descriptor*/) override { return fOpenResult; }
  int send(UniqueFd const& /*descriptor*/, int /*signal*/) override { return -EBADF; }
  int send(unsigned int pid, int signal) override {
    fSent.push_back(std::to_string(pid) + " gets " + std::to_string(signal));
    if (fOnSend) fOnSend(signal);
    return fSendResult;
  }

  int fOpenResult = -ENOSYS;
  int fSendResult = PResult::ok;
  std::function<void(int)> fOnSend;
  std::vector<std::string> fSent;
};

class StartedAsTold : public ISpawner {
 public:
  SpawnOutcome spawn(SpawnRequest const& /*request*/) override { return {62, 0, ""}; }
};

class JudgementTest : public testing::Test {
 protected:
  JudgementTest() { useDescriptors(8); }

  /// Begins anew, with so many descriptors to be kept.
  void useDescriptors(std::size_t most) {
    auto signals = std::make_unique<RecordedSignals>();
    fSignals = signals.get();
    ProcessWorld world = ProcessWorld::real();
    world.signals = std::move(signals);
    auto clock = std::make_unique<ScriptedClock>();
    fClock = clock.get();
    world.clock = std::move(clock);
    world.spawner = std::make_unique<StartedAsTold>();
    world.listen = nullptr;
    auto log =
        std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::null_sink_mt>());
    fUtilities = std::make_unique<ProcessUtilities>(
        ProcessSettings{.procRoot = fProc.path(), .killGrace = 200ms, .keptDescriptors = most}, log,
        std::move(world));
  }

  Pids find(std::string const& name) {
    Pids pids;
    Pids parents;
    const int res = fUtilities->find(name, pids, parents);
    EXPECT_EQ(res, pids.empty() ? PResult::notFound : PResult::ok);
    return pids;
  }

  /// What each operation on a number answers.
  std::vector<int> ask(unsigned int pid) {
    bool running = false;
    unsigned int percent = 0;
    unsigned long long kib = 0;
    return {fUtilities->isRunning(pid, running), fUtilities->getCPUUsage(pid, percent),
            fUtilities->getMemoryUsage(pid, kib)};
  }

  FakeProc fProc;
  RecordedSignals* fSignals = nullptr;
  ScriptedClock* fClock = nullptr;
  std::unique_ptr<ProcessUtilities> fUtilities;
};

TEST_F(JudgementTest, WithoutDescriptorsOnlyWhoIsCertainlyTheSameGetsMore) {
  const std::string stat = fProc.path("50/stat");
  const std::pair<std::function<void()>, std::vector<std::string>> cases[] = {
      {[] {}, {"50 gets 15", "50 gets 9"}},
      {[&] { fProc.add(50, {.comm = "stranger", .startTicks = 8}); }, {"50 gets 15"}},
      {[&] { std::filesystem::remove(stat), std::filesystem::create_directory(stat); },
       {"50 gets 15"}}};
  for (auto const& [happen, expected] : cases) {
    useDescriptors(8);
    fProc.add(50, {.comm = "stubborn", .startTicks = 7});
    std::vector<std::string> sent;
    fSignals->fOnSend = [&, &act = happen](int signal) {
      sent = fSignals->fSent;
      if (signal == SIGTERM) act();
      if (signal == SIGKILL) fProc.remove(50);
    };
    EXPECT_EQ(fUtilities->kill(50), 0);
    if (expected.size() > 1) fUtilities->kill(50);  // again, which changes nothing
    fUtilities.reset();
    EXPECT_EQ(sent, expected);
  }
}

TEST_F(JudgementTest, NobodyIsSignalledWhoMustNotBe) {
  constexpr unsigned int kKernelThread = 0x00200040;
  fProc.add(1, {.comm = "init"});
  fProc.add(2, {.comm = "kthreadd", .flags = kKernelThread});
  fProc.add(50, {.comm = "dead", .state = 'Z'});
  fProc.add(51, {.comm = "other"});
  EXPECT_EQ(fUtilities->kill(1), -EPERM);
  EXPECT_EQ(fUtilities->kill(2), -EPERM);
  EXPECT_EQ(fUtilities->kill(50), PResult::notFound);
  EXPECT_EQ(fUtilities->kill(99), PResult::notFound);
  for (const unsigned int pid : {0U, static_cast<unsigned int>(::getpid())}) {
    fProc.add(pid, {.comm = "host"});
    EXPECT_EQ(fUtilities->kill(pid), -EPERM) << pid;
  }
  // Negative as the kernel reads it: a group of processes, or all there are.
  for (const unsigned int pid : {0xFFFFFFFFU, 0x80000001U}) {
    EXPECT_EQ(fUtilities->kill(pid), PResult::notFound) << pid;
  }
  fProc.makeFile("51/status", "Name:\tx\nTgid:\t7\nPid:\t51\n");
  EXPECT_EQ(fUtilities->kill(51), PResult::notFound) << "a thread stands for its whole process";
  fProc.add(51, {.comm = "other"});
  fSignals->fOpenResult = PResult::notFound;
  EXPECT_EQ(fUtilities->kill(51), PResult::notFound) << "gone before it could be held";
  EXPECT_THAT(fSignals->fSent, IsEmpty());

  fSignals->fOpenResult = -EMFILE;
  fSignals->fSendResult = -EPERM;
  EXPECT_EQ(fUtilities->kill(51), -EPERM);
  EXPECT_THAT(fSignals->fSent, ElementsAre("51 gets 15"));
}

TEST_F(JudgementTest, ANumberStandsForTheProcessThatWasFound) {
  for (const std::size_t descriptors : {8U, 0U}) {
    SCOPED_TRACE(descriptors);
    useDescriptors(descriptors);
    const FakeProcess first{.comm = "web", .cpuTicks = 1000, .startTicks = 7};
    const FakeProcess second{.comm = "web", .cpuTicks = 50, .startTicks = 410'000};
    fProc.add(60, first);
    fClock->fNow = 500s;
    EXPECT_THAT(find("web"), ElementsAre(60));
    EXPECT_THAT(ask(60), Each(0));
    fProc.add(60, {.comm = "executed-another", .cpuTicks = 1000, .startTicks = 7});
    EXPECT_THAT(ask(60), Each(0)) << "still the same process";
    fProc.add(60, second);
    fClock->fNow += 1s;
    EXPECT_THAT(ask(60), Each(PResult::notFound));
    EXPECT_EQ(fUtilities->kill(60), PResult::notFound);
    EXPECT_THAT(fSignals->fSent, IsEmpty());

    EXPECT_THAT(find("web"), ElementsAre(60)) << "and for the next one, once that was found";
    unsigned int percent = 0;
    EXPECT_EQ(fUtilities->getCPUUsage(60, percent), 0);
    EXPECT_EQ(percent, 50U) << "of its own time alone";
    fProc.makeFile("60/stat", "");
    EXPECT_THAT(find("web"), IsEmpty()) << "gone since the look";
    EXPECT_THAT(ask(60), Each(PResult::notFound));
    // Whoever bears it next was not found either, though it was looked at.
    fProc.add(60, {.comm = "another-strange", .startTicks = second.startTicks});
    EXPECT_THAT(find("another-strange-name"), IsEmpty());
    EXPECT_THAT(ask(60), Each(PResult::notFound));
    EXPECT_EQ(fUtilities->kill(60), PResult::notFound);
    // A number that nobody was given means whoever bears it.
    fProc.add(61, first);
    EXPECT_THAT(ask(61), Each(0));
    fProc.add(61, second);
    EXPECT_EQ(fUtilities->getCPUUsage(61, percent), 0);
    EXPECT_EQ(percent, 50U);
    // One that was started is as good as found.
    unsigned int started = 0;
    fProc.add(62, first);
    EXPECT_EQ(fUtilities->start("/bin/true", "", "", started), 0);
    fProc.add(started, second);
    fClock->fNow += 1s;
    EXPECT_THAT(ask(started), Each(PResult::notFound));
    // Nobody remembers a number for ever; otherwise so many would fill the memory.
    for (const unsigned int pid : {60U, 61U, 62U}) fProc.remove(pid);
    fProc.add(60, {.comm = "any"});
    for (const int answer : {PResult::notFound, 0}) {
      fClock->fNow += 5min;
      for (unsigned int pid = 1000; pid < 1600; ++pid) ask(pid);
      EXPECT_THAT(ask(60), Each(answer));
    }
  }
}

TEST_F(JudgementTest, WhatTheLookSawHoldsForOnePassAndNotBeyondAKill) {
  for (auto const& [later, isKilled, answer] :
       {std::tuple{499ms, false, +PResult::ok}, std::tuple{500ms, false, +PResult::notFound},
        std::tuple{0ms, true, +PResult::notFound}}) {
    useDescriptors(8);
    fProc.add(60, {.comm = "web"});
    EXPECT_THAT(find("web"), ElementsAre(60));
    fSignals->fOnSend = [&](int) { fProc.add(60, {.comm = "web", .state = 'Z'}); };
    if (isKilled) {
      EXPECT_EQ(fUtilities->kill(60), 0);
    } else {
      fSignals->fOnSend(0);  // ends by itself
    }
    fClock->fNow += later;
    EXPECT_THAT(ask(60), ElementsAre(0, answer, answer));
  }
}

TEST_F(JudgementTest, EveryStateIsJudged) {
  const auto page = static_cast<unsigned int>(::getpagesize()) / 1024;
  for (auto const& [state, threads, isDead, isRunning] : {std::tuple{'R', 1U, false, true},
                                                          {'S', 1U, false, true},
                                                          {'D', 1U, false, true},
                                                          {'I', 1U, false, true},
                                                          {'T', 1U, false, false},
                                                          {'t', 1U, false, false},
                                                          {'Z', 2U, false, true},
                                                          {'Z', 1U, true, false},
                                                          {'X', 2U, true, false}}) {
    SCOPED_TRACE(state + std::to_string(threads));
    useDescriptors(8);
    fProc.add(60, {.comm = "web", .state = state, .threads = threads, .pages = state != 'Z'});
    fProc.makeFile("60/task/61/stat", statText(61, {.comm = "web", .pages = 1}));
    EXPECT_EQ(find("web").size(), isDead ? 0U : 1U);
    bool running = isDead;
    EXPECT_EQ(fUtilities->isRunning(60, running), 0);
    EXPECT_EQ(running, isRunning);
    const int measured = isDead ? PResult::notFound : PResult::ok;
    EXPECT_THAT(ask(60), ElementsAre(0, measured, measured));
    unsigned long long kib = 0;
    EXPECT_EQ(fUtilities->getMemoryUsage(60, kib), measured);
    EXPECT_EQ(kib, isDead ? 0 : page) << "of a thread that is left, where the first is not";
  }
}

}  // namespace
