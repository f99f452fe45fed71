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

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

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

class JudgementTest : public testing::Test {
 protected:
  JudgementTest() {
    auto signals = std::make_unique<RecordedSignals>();
    fSignals = signals.get();
    ProcessWorld world = ProcessWorld::real();
    world.signals = std::move(signals);
    auto log =
        std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::null_sink_mt>());
    fUtilities = std::make_unique<ProcessUtilities>(
        ProcessSettings{.procRoot = fProc.path(), .killGrace = 200ms}, log, std::move(world));
  }

  FakeProc fProc;
  RecordedSignals* fSignals = nullptr;
  std::unique_ptr<ProcessUtilities> fUtilities;
};

TEST_F(JudgementTest, WithoutDescriptorsTheStartTimeTellsProcessesApart) {
  fProc.add(50, {.comm = "stubborn", .startTicks = 7});
  std::vector<std::string> sent;
  fSignals->fOnSend = [&](int signal) {
    sent = fSignals->fSent;
    if (signal == SIGKILL) std::filesystem::remove_all(fProc.path("50"));
  };
  EXPECT_EQ(fUtilities->kill(50), 0);
  EXPECT_EQ(fUtilities->kill(50), 0);
  fUtilities.reset();
  EXPECT_THAT(sent, ElementsAre("50 gets 15", "50 gets 9"));
}

TEST_F(JudgementTest, ANumberThatChangedHandsGetsNothingMore) {
  fProc.add(50, {.comm = "quick", .startTicks = 7});
  std::vector<std::string> sent;
  fSignals->fOnSend = [&](int) {
    sent = fSignals->fSent;
    fProc.add(50, {.comm = "stranger", .startTicks = 8});
  };
  EXPECT_EQ(fUtilities->kill(50), 0);
  fUtilities.reset();
  EXPECT_THAT(sent, ElementsAre("50 gets 15"));
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

TEST_F(JudgementTest, EveryStateIsJudged) {
  struct Case {
    char state;
    unsigned int threads;
    bool isRunning;
    int reading;
  };
  // The main thread's states, and that of another thread which lives on, asleep.
  for (auto const& [state, threads, isRunning, reading] : {Case{'R', 1, true, 0},
                                                           {'S', 1, true, 0},
                                                           {'D', 1, true, 0},
                                                           {'I', 1, true, 0},
                                                           {'T', 1, false, 0},
                                                           {'t', 1, false, 0},
                                                           {'Z', 2, true, 0},
                                                           {'Z', 1, false, PResult::notFound},
                                                           {'X', 2, false, PResult::notFound}}) {
    SCOPED_TRACE(state);
    fProc.add(50, {.comm = "x", .state = state, .threads = threads, .pages = 256});
    fProc.makeFile("50/task/50/stat", statText(50, {.comm = "x", .state = state}));
    fProc.makeFile("50/task/51/stat", statText(51, {.comm = "x", .pages = 256}));
    bool running = !isRunning;
    unsigned int percent = 0;
    unsigned long long kib = 0;
    EXPECT_EQ(fUtilities->isRunning(50, running), 0);
    EXPECT_EQ(running, isRunning);
    EXPECT_EQ(fUtilities->getCPUUsage(50, percent), reading);
    EXPECT_EQ(fUtilities->getMemoryUsage(50, kib), reading);
    EXPECT_EQ(kib, reading == 0 ? 256U * static_cast<unsigned int>(::getpagesize()) / 1024 : 0U);
  }
}

}  // namespace
