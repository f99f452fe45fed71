// Whom `kill` signals, on a made process table and with signals that only go on
// record: kernels without process descriptors, numbers that change hands.

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

class KillTest : public testing::Test {
 protected:
  KillTest() {
    auto signals = std::make_unique<RecordedSignals>();
    fSignals = signals.get();
    ProcessWorld world = ProcessWorld::real();
    world.signals = std::move(signals);
    auto log =
        std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::null_sink_mt>());
    fUtilities = std::make_unique<ProcessUtilities>(
        ProcessSettings{.procRoot = fProc.path(), .killGrace = 20ms}, log, std::move(world));
  }

  FakeProc fProc;
  RecordedSignals* fSignals = nullptr;
  std::unique_ptr<ProcessUtilities> fUtilities;
};

TEST_F(KillTest, WithoutDescriptorsTheStartTimeTellsProcessesApart) {
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

TEST_F(KillTest, ANumberThatChangedHandsGetsNothingMore) {
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

TEST_F(KillTest, NobodyIsSignalledWhoMustNotBe) {
  constexpr unsigned int kKernelThread = 0x00200040;
  fProc.add(1, {.comm = "init"});
  fProc.add(2, {.comm = "kthreadd", .flags = kKernelThread});
  fProc.add(50, {.comm = "dead", .state = 'Z'});
  fProc.add(51, {.comm = "other"});
  EXPECT_EQ(fUtilities->kill(1), -EPERM);
  EXPECT_EQ(fUtilities->kill(2), -EPERM);
  EXPECT_EQ(fUtilities->kill(50), PResult::notFound);
  EXPECT_EQ(fUtilities->kill(99), PResult::notFound);
  fSignals->fOpenResult = PResult::notFound;
  EXPECT_EQ(fUtilities->kill(51), PResult::notFound) << "gone before it could be held";
  EXPECT_THAT(fSignals->fSent, IsEmpty());

  fSignals->fOpenResult = -EMFILE;
  fSignals->fSendResult = -EPERM;
  EXPECT_EQ(fUtilities->kill(51), -EPERM);
  EXPECT_THAT(fSignals->fSent, ElementsAre("51 gets 15"));
}

}  // namespace
