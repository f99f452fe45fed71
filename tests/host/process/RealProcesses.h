#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spdlog/sinks/ostream_sink.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/process/IProcessSignals.h"
#include "host/process/ProcessUtilities.h"
#include "tests/host/process/TemporaryFolder.h"

/// Process utilities on real processes: programs are started under a name of this
/// test's own and ended with it.
class RealProcesses : public testing::Test {
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
    fUtilities = std::make_unique<ProcessUtilities>(
        ProcessSettings{.killGrace = kGrace, .programOutput = fifo}, makeLog());
  }

  void TearDown() override {
    fUtilities.reset();  // reaps no more
    std::vector<unsigned int> pids;
    std::vector<unsigned int> parents;
    const ProcessTree tree("/proc");
    ProcessFinder(tree).find(fName, pids, parents);
    for (const unsigned int pid : pids) ::kill(static_cast<pid_t>(pid), SIGKILL);
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
  }

  std::shared_ptr<spdlog::logger> makeLog() {
    auto log = std::make_shared<spdlog::logger>(
        "test", std::make_shared<spdlog::sinks::ostream_sink_mt>(fLog));
    log->set_level(spdlog::level::debug);
    return log;
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

  static bool isDead(unsigned int pid, int patienceMs = 0) {
    UniqueFd descriptor;
    if (makeKernelSignals()->open(pid, descriptor) != 0) return true;
    pollfd polled{descriptor.get(), POLLIN, 0};
    return ::poll(&polled, 1, patienceMs) > 0;
  }
  static void awaitEnd(unsigned int pid) { EXPECT_TRUE(isDead(pid, kPatienceMs)) << pid; }

  /// What was logged; complete once the utilities are destroyed.
  std::string endAndReadLog() {
    fUtilities.reset();
    return fLog.str();
  }

  TemporaryFolder fFolder;
  std::string fName;
  std::string fProgram;
  UniqueFd fOutput;
  std::ostringstream fLog;
  std::unique_ptr<ProcessUtilities> fUtilities;
};
