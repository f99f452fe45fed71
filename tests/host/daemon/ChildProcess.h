#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

/// A program whose standard error the test reads line by line. No call waits for
/// longer than the patience that it has all in all.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> words) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
    fOutput = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const int error = ::posix_spawnp(&fPid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (error != 0) throw std::system_error(error, std::generic_category());
  }
  ~ChildProcess() {
    signal(SIGKILL);
    awaitEnd();
    ::close(fOutput);
  }
  ChildProcess(ChildProcess const&) = delete;
  ChildProcess& operator=(ChildProcess const&) = delete;

  void signal(int number) const {
    if (fPid > 0) ::kill(fPid, number);
  }

  /// The next line that contains `part`; empty, and a failure, when none comes.
  std::string awaitLine(std::string const& part) {
    for (std::string line; readLine(line);) {
      if (line.find(part) != std::string::npos) return line;
    }
    ADD_FAILURE() << "no line with `" << part << "' in:\n" << fText;
    return "";
  }

  /// Waits for the end. @return the exit status, or the negated signal.
  int awaitEnd() {
    if (fPid == 0) return fStatus;
    for (std::string line; readLine(line);) {
    }
    int status = 0;
    ::waitpid(fPid, &status, 0);
    fPid = 0;
    return fStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  /// All lines read so far.
  std::string const& text() const { return fText; }

 private:
  /// @return false at the end of the output; a failure when patience runs out.
  bool readLine(std::string& line) {
    line.clear();
    for (char character = 0;; line += character) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          fDeadline - std::chrono::steady_clock::now());
      pollfd polled{fOutput, POLLIN, 0};
      if (left.count() <= 0 || ::poll(&polled, 1, static_cast<int>(left.count())) == 0) {
        ADD_FAILURE() << "out of patience after:\n" << fText;
        signal(SIGKILL);
        return false;
      }
      if (::read(fOutput, &character, 1) != 1) return false;
      fText += character;
      if (character == '\n') return true;
    }
  }

  static constexpr std::chrono::seconds kPatience{60};

  std::chrono::steady_clock::time_point fDeadline = std::chrono::steady_clock::now() + kPatience;
  pid_t fPid = 0;
  int fOutput = -1;
  int fStatus = 0;
  std::string fText;
};
