// The process utilities on real processes of this machine.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spdlog/sinks/ostream_sink.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <sstream>
#include <thread>

#include "framework/PResult.h"
#include "host/process/ProcessUtilities.h"
#include "tests/host/process/TemporaryFolder.h"

namespace {

using namespace std::literals;
using testing::HasSubstr;

/// Process utilities on real processes: programs are started under a name of this
/// test's own and ended with it.
class ProcessUtilitiesTest : public testing::Test {
 protected:
  static constexpr int kPatienceMs = 10'000;
  static constexpr std::chrono::milliseconds kGrace{400};

  void SetUp() override {
    fName = "vesktest" + std::to_string(::getpid() % 1'000'000);
    fProgram = fFolder.path(fName);
    std::filesystem::copy_file(TEST_PROGRAM, fProgram);
    const std::string fifo = fFolder.path("output");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    fOutput = UniqueFd(::open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    configure({});
  }

  /// Makes the utilities that give started programs these settings.
  void configure(ProgramSettings programs, std::chrono::milliseconds grace = kGrace) {
    auto log = std::make_shared<spdlog::logger>(
        "test", std::make_shared<spdlog::sinks::ostream_sink_mt>(fLog));
    log->set_level(spdlog::level::debug);
    programs.output = fFolder.path("output");
    fUtilities = std::make_unique<ProcessUtilities>(
        ProcessSettings{.killGrace = grace, .programs = std::move(programs)}, log);
  }

  void TearDown() override {
    fUtilities.reset();  // reaps no more
    ProcessUtilities({}, std::make_shared<spdlog::logger>("none")).find(fName, fPids, fParents);
    for (const unsigned int pid : fPids) ::kill(static_cast<pid_t>(pid), SIGKILL);
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
  }

  /// One line of what the started programs print; empty when none comes.
  std::string readLine() {
    std::string line;
    for (char character = 0; character != '\n'; line += character) {
      pollfd polled{fOutput.get(), POLLIN, 0};
      if (::poll(&polled, 1, kPatienceMs) <= 0 || ::read(fOutput.get(), &character, 1) != 1) {
        return "";
      }
      if (character == '\n') break;
    }
    return line;
  }

  /// Starts the test program in one of its modes and waits until it is ready.
  unsigned int start(std::string const& arguments = "") {
    unsigned int pid = 0;
    EXPECT_EQ(fUtilities->start(fProgram, arguments, "", pid), 0);
    EXPECT_EQ(readLine(), "ready");
    return pid;
  }

  static bool isDead(unsigned int pid) {
    UniqueFd descriptor;
    if (makeKernelSignals()->open(pid, descriptor) != 0) return true;
    pollfd polled{descriptor.get(), POLLIN, 0};
    return ::poll(&polled, 1, 0) > 0;
  }

  /// What was logged; complete once the utilities are destroyed.
  std::string endAndReadLog() {
    fUtilities.reset();
    return fLog.str();
  }

  int find() { return fUtilities->find(fName, fPids, fParents); }

  TemporaryFolder fFolder;
  std::string fName;
  std::string fProgram;
  UniqueFd fOutput;
  std::ostringstream fLog;
  std::unique_ptr<ProcessUtilities> fUtilities;
  std::vector<unsigned int> fPids;
  std::vector<unsigned int> fParents;
};

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
    EXPECT_EQ(log.find("sent SIGTERM to " + process), log.rfind("sent SIGTERM to " + process));
    EXPECT_THAT(log, HasSubstr(process + " did not end within 400 ms of SIGTERM: sent SIGKILL"));
  }
}

TEST_F(ProcessUtilitiesTest, AStoppingHostFinishesWhatItBeganAndNoMore) {
  configure({}, 2s);
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
  // Of two limits for one resource the latter holds.
  configure({.environment = {"A=b c", "EMPTY="},
             .limits = {{RLIMIT_NOFILE, 9, 20}, {RLIMIT_NOFILE, 10, 19}}});
  ::setenv("VESK_TEST", "of the host", 1);
  const mode_t before = ::umask(077);
  const UniqueFd open(::open("/dev/null", O_RDONLY));  // on purpose without O_CLOEXEC
  sigset_t some;
  ::sigemptyset(&some);
  ::sigaddset(&some, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  // Its mask last, and in place of the shell, which blocks signals to start a command.
  const std::string report =
      "ls /proc/$$/fd; cut -d ' ' -f 6 /proc/$$/stat; umask; ulimit -Sn; ulimit -Hn;"
      "cat /proc/$$/environ | tr '\\\\0' '|'; echo; pwd; echo $#;"
      "exec grep -E 'Sig(Blk|Ign)' /proc/self/status";
  unsigned int pid = 0;
  EXPECT_EQ(
      fUtilities->start("/bin/sh", "-c \"" + report + "\" - 'one  word' two", fFolder.path(), pid),
      0);
  ::pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
  ::umask(before);
  for (std::string const& line :
       {"0"s, "1"s, "2"s, std::to_string(pid), "0022"s, "10"s, "19"s, "A=b c|EMPTY=|"s,
        std::filesystem::canonical(fFolder.path()).string(), "2"s, "SigBlk:\t0000000000000000"s,
        "SigIgn:\t0000000000000000"s}) {
    EXPECT_EQ(readLine(), line);
  }
}

TEST_F(ProcessUtilitiesTest, WhatCannotBeStartedSaysWhy) {
  fFolder.makeFile("text", "not a program");
  fFolder.makeFile("broken", "#!/does/not/exist\n");
  std::filesystem::permissions(fFolder.path("broken"), std::filesystem::perms::owner_all);
  struct Case {
    std::string executable, arguments, workingDir;
    int res;
    std::string cause;
    ProgramLimit limit{RLIMIT_NOFILE, 0, 0};  // hinders the program, not its start
  };
  for (auto const& c : {
           Case{"", "", "", -EINVAL, "no executable is configured"},
           Case{fProgram, "'open", "", -EINVAL, "a quote is not closed in its arguments: 'open"},
           Case{"/does/not/exist", "", "", -ENOENT, "cannot be executed: No such file"},
           Case{"no-such-command", "", "", -ENOENT, "cannot be executed: No such file"},
           Case{fFolder.path("text"), "", "", -EACCES, "cannot be executed: Permission denied"},
           Case{fFolder.path("broken"), "", "", -ENOENT, "cannot be executed: No such file"},
           Case{fProgram, "", "/nowhere", -ENOENT, "cannot enter its working directory: No such"},
           Case{fProgram, "", "", -EPERM, "cannot be given its nofile limit: Operation not perm",
                ProgramLimit{RLIMIT_NOFILE, 0, 1ULL << 40}},  // more than any kernel allows
       }) {
    fLog.str("");
    configure({.limits = {{RLIMIT_CORE, 0, 0}, c.limit}});
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
  const unsigned int killed = start();
  ::kill(static_cast<pid_t>(killed), SIGKILL);
  siginfo_t info;  // until both are reaped
  while (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0) std::this_thread::yield();
  const std::string log = endAndReadLog();
  for (auto const& [which, end] : {std::pair(pid, "exit status 3"), {killed, "signal 9 (KILL)"}}) {
    EXPECT_THAT(log, HasSubstr("program " + fProgram + " (pid " + std::to_string(which) +
                               ") ended with " + end));
  }
}

}  // namespace
