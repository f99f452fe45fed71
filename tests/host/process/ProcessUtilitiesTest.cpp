// The process utilities on real processes of this machine.

#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "framework/PResult.h"
#include "tests/host/process/RealProcesses.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

class ProcessUtilitiesTest : public RealProcesses {
 protected:
  int find() { return fUtilities->find(fName, fPids, fParents); }

  std::vector<unsigned int> fPids;
  std::vector<unsigned int> fParents;
};

TEST_F(ProcessUtilitiesTest, FindsMeasuresAndJudgesWhatItStarted) {
  EXPECT_EQ(find(), PResult::notFound);
  const unsigned int pid = start("spin");
  EXPECT_EQ(find(), PResult::ok);
  EXPECT_THAT(fPids, ElementsAre(pid));
  EXPECT_THAT(fParents, ElementsAre(static_cast<unsigned int>(::getpid())));

  unsigned long long kib = 0;
  EXPECT_EQ(fUtilities->getMemoryUsage(pid, kib), 0);
  EXPECT_GT(kib, 100U);
  EXPECT_LT(kib, 1'000'000U);
  unsigned int percent = 0;
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
  while (percent == 0 && std::chrono::steady_clock::now() < until) {
    ASSERT_EQ(fUtilities->getCPUUsage(pid, percent), 0);
  }
  EXPECT_GT(percent, 0U);
  EXPECT_LE(percent, 200U);

  ::kill(static_cast<pid_t>(pid), SIGKILL);
  awaitEnd(pid);
  EXPECT_EQ(find(), PResult::notFound);
  EXPECT_EQ(fUtilities->getCPUUsage(pid, percent), PResult::notFound);
  EXPECT_EQ(fUtilities->getMemoryUsage(pid, kib), PResult::notFound);
  EXPECT_EQ(fUtilities->kill(pid), PResult::notFound);
}

TEST_F(ProcessUtilitiesTest, TheStubbornAreKilledAfterOneGrace) {
  std::vector<unsigned int> pids;
  for (int i = 0; i < 5; ++i) pids.push_back(start("stubborn"));
  const auto before = std::chrono::steady_clock::now();
  for (const unsigned int pid : pids) {
    EXPECT_EQ(fUtilities->kill(pid), 0);
    EXPECT_EQ(fUtilities->kill(pid), 0) << "asked again";
    EXPECT_FALSE(isDead(pid));
  }
  start();  // waits for them, and that takes one grace in all
  for (const unsigned int pid : pids) EXPECT_TRUE(isDead(pid)) << pid;
  EXPECT_GE(std::chrono::steady_clock::now() - before, kGrace);
  const std::string log = endAndReadLog();
  for (const unsigned int pid : pids) {
    const std::string process = "process " + std::to_string(pid) + " (" + fName + ")";
    const auto asked = log.find("sent SIGTERM to " + process);
    ASSERT_NE(asked, std::string::npos);
    EXPECT_EQ(log.find("sent SIGTERM to " + process, asked + 1), std::string::npos);
    EXPECT_THAT(log, HasSubstr(process + " did not end within 400 ms of SIGTERM: sent SIGKILL"));
  }
}

TEST_F(ProcessUtilitiesTest, AStoppingHostFinishesWhatItBeganAndNoMore) {
  const unsigned int stubborn = start("stubborn");
  EXPECT_EQ(fUtilities->kill(stubborn), 0);
  EXPECT_EQ(find(), PResult::ok);
  const unsigned int other = start();
  EXPECT_FALSE(isDead(stubborn)) << "a start waits for what was killed since the last find";
  fUtilities.reset();
  EXPECT_TRUE(isDead(stubborn));
  EXPECT_FALSE(isDead(other)) << "started programs outlive the host";
}

TEST_F(ProcessUtilitiesTest, StartedProgramsInheritNothing) {
  const UniqueFd open(::open("/dev/null", O_RDONLY));  // on purpose without O_CLOEXEC
  sigset_t some;
  ::sigemptyset(&some);
  ::sigaddset(&some, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  unsigned int pid = 0;
  EXPECT_EQ(fUtilities->start(fProgram, "report 'one word' two", fFolder.path(), pid), 0);
  ::pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
  const std::vector<std::string> expected = {
      "argument one word|",        "argument two|", "SigBlk:\t0000000000000000",
      "SigIgn:\t0000000000000000", "descriptors 3", "session own"};
  for (auto const& line : expected) EXPECT_EQ(readLine(), line);
  EXPECT_EQ(readLine(), "folder " + std::filesystem::canonical(fFolder.path()).string());
}

TEST_F(ProcessUtilitiesTest, WhatCannotBeStartedSaysWhy) {
  fFolder.makeFile("text", "not a program");
  fFolder.makeFile("broken", "#!/does/not/exist\n");
  std::filesystem::permissions(fFolder.path("broken"), std::filesystem::perms::owner_all);
  struct Case {
    std::string executable, arguments, workingDir;
    int res;
    std::string cause;
  };
  for (auto const& c : {
           Case{"", "", "", -EINVAL, "no executable is configured"},
           Case{fProgram, "'open", "", -EINVAL, "a quote is not closed in its arguments: 'open"},
           Case{"/does/not/exist", "", "", -ENOENT, "cannot be executed: No such file"},
           Case{"no-such-command", "", "", -ENOENT, "cannot be executed: No such file"},
           Case{fFolder.path("text"), "", "", -EACCES, "cannot be executed: Permission denied"},
           Case{fFolder.path("broken"), "", "", -ENOENT, "cannot be executed: No such file"},
           Case{fProgram, "", "/nowhere", -ENOENT, "cannot enter its working directory: No such"},
       }) {
    fLog.str("");
    unsigned int pid = 77;
    EXPECT_EQ(fUtilities->start(c.executable, c.arguments, c.workingDir, pid), c.res) << c.cause;
    EXPECT_EQ(pid, 77U);
    EXPECT_THAT(fLog.str(), HasSubstr(c.cause));
  }
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left behind";
}

TEST_F(ProcessUtilitiesTest, EndsOfStartedProgramsAreLogged) {
  unsigned int pid = 0;
  EXPECT_EQ(fUtilities->run(fProgram + " exit 3", pid), 0);
  awaitEnd(pid);
  const unsigned int killed = start();
  ::kill(static_cast<pid_t>(killed), SIGKILL);
  awaitEnd(killed);
  // Reaped, that is: no child is left to wait for.
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
  while (::waitpid(-1, nullptr, WNOHANG | WNOWAIT) != -1 &&
         std::chrono::steady_clock::now() < until) {
    std::this_thread::yield();
  }
  const std::string log = endAndReadLog();
  const auto ended = [&](unsigned int which) {
    return "program " + fProgram + " (pid " + std::to_string(which) + ") ended with ";
  };
  EXPECT_THAT(log, HasSubstr(ended(pid) + "exit status 3"));
  EXPECT_THAT(log, HasSubstr(ended(killed) + "signal 9 (KILL)"));
}

}  // namespace
