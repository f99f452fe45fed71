// Real processes that are hard to judge.

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <future>
#include <thread>

#include "framework/PResult.h"
#include "host/process/ProcessUtilities.h"

namespace {

using namespace std::literals;
using namespace testing;

class HostileTest : public Test {
 protected:
  static void rename(std::string const& name) { ::prctl(PR_SET_NAME, name.c_str()); }

  /// A child that does as told and then stays.
  static unsigned int makeChild(std::string const& name, std::function<void()> const& act) {
    const pid_t pid = ::fork();
    if (pid != 0) return static_cast<unsigned int>(pid);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    rename(name);
    act();
    for (;;) ::pause();
  }

  static void await(unsigned int pid, char state, std::string const& name) {
    ProcessStat stat;
    const ProcessTree tree("/proc");
    const auto until = std::chrono::steady_clock::now() + 20s;
    while (tree.readStat(pid, stat) == 0 && (stat.state != state || stat.comm != name)) {
      ASSERT_LT(std::chrono::steady_clock::now(), until) << stat.state << stat.comm;
    }
  }

  /// The signal that a child died of, or its exit status.
  static int endOf(unsigned int pid) {
    int status = 0;
    while (::waitpid(static_cast<pid_t>(pid), &status, 0) > 0 && WIFSTOPPED(status)) continue;
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  }

  /// The utilities have a thread, so they are made after the children: at the first look.
  int find(std::string const& name) {
    if (!fUtilities) {
      fUtilities = std::make_unique<ProcessUtilities>(ProcessSettings{.killGrace = 50ms},
                                                      std::make_shared<spdlog::logger>("test"));
    }
    // Asked for one name twice they look anew.
    fUtilities->find(name, fPids, fParents);
    return fUtilities->find(name, fPids, fParents);
  }

  std::vector<int> ask(unsigned int pid) {
    unsigned int percent = 0;
    return {fUtilities->isRunning(pid, fIsRunning), fUtilities->getCPUUsage(pid, percent),
            fUtilities->getMemoryUsage(pid, fKib)};
  }

  /// Judges a child by what it does: its state then, and what the kill ends it with: SIGTERM if
  /// it can run, 0 if it is dead.
  void judge(std::function<void()> const& act, char state, int end) {
    SCOPED_TRACE(state + std::to_string(end));
    const unsigned int pid = makeChild(fName, act);
    await(pid, state, fName);
    siginfo_t info;  // its last thread may end later: an emulated process has more than one
    if (end == 0) ::waitid(P_PID, pid, &info, WEXITED | WNOWAIT);
    const int listed = end == 0 ? PResult::notFound : PResult::ok;
    EXPECT_EQ(find(fName), listed);
    for (const auto* which : {"first", "again"}) {
      fKib = 0;
      fIsRunning = end == SIGKILL;
      EXPECT_THAT(ask(pid), ElementsAre(AnyOf(listed, PResult::ok), listed, listed)) << which;
      EXPECT_EQ(fIsRunning, end == SIGTERM) << which;
      EXPECT_EQ(fKib > 0, end != 0) << which;
    }
    EXPECT_EQ(fUtilities->kill(pid), listed);
    EXPECT_EQ(endOf(pid), end);
    fUtilities.reset();
  }

  const std::string fName = "host" + std::to_string(::getpid() % 1'000'000);
  std::unique_ptr<ProcessUtilities> fUtilities;
  std::vector<unsigned int> fPids, fParents;
  bool fIsRunning = false;
  unsigned long long fKib = 0;
};

TEST_F(HostileTest, EveryConditionIsJudged) {
  const auto leaveMainThread = [] {
    std::thread([] { ::pause(); }).detach();
    ::syscall(SYS_exit, 0);
  };
  judge([] { std::raise(SIGSTOP); }, 'T', SIGKILL);
  judge(leaveMainThread, 'Z', SIGTERM);
  judge([] { ::_exit(0); }, 'Z', 0);
}

TEST_F(HostileTest, ATracedProcessIsJudged) {
  judge([] { ::ptrace(PTRACE_TRACEME), std::raise(SIGSTOP); }, 't', SIGKILL);
}

TEST_F(HostileTest, NamesMayHoldAnythingAndChange) {
  std::promise<void> end;
  std::thread thread;
  for (auto const& name : {"a b"s, "(x)"s, ") R 1 1"s, "two\nlines"s, "ends\n"s, "back\\n"s,
                           "\xff\xfe(\x01"s, "exactly-15-long"s}) {
    rename(name);
    find(name);
    EXPECT_THAT(fPids, Contains(static_cast<unsigned int>(::getpid()))) << name;
    if (!thread.joinable()) thread = std::thread([&] { end.get_future().wait(); });
  }
  EXPECT_EQ(find("a b"), PResult::notFound) << "a thread that kept the name";
  end.set_value();
  thread.join();
}

TEST_F(HostileTest, WithoutDescriptorsNobodyIsTakenForGone) {
  rename(fName);
  EXPECT_EQ(find(fName), PResult::ok);
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const int lowest = UniqueFd(::dup(0)).get();
  // Plenty first: a sanitizer's first look at an object needs some, too.
  for (const int left : {100, 0, 1, 2, 3}) {
    const rlimit few{static_cast<rlim_t>(lowest + left), before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    auto results = ask(fPids.at(0));
    results.push_back(find(fName));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_THAT(results, Each(Ne(PResult::notFound))) << left;
    EXPECT_EQ(find(fName), PResult::ok) << left;
  }
}

}  // namespace
