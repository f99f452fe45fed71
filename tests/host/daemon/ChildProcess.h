#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include "host/process/UniqueFd.h"

/// A program whose standard error the test reads line by line. SIGALRM ends it
/// when it takes longer than any test may.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    fPid = ::fork();
    if (fPid == 0) {
      ::dup2(ends[1], STDERR_FILENO);
      ::alarm(60);
      ::execvp(argv[0], argv.data());
      ::_exit(127);
    }
    fOutput.open("/proc/self/fd/" + std::to_string(ends[0]));
    for (const int end : ends) ::close(end);
  }
  ~ChildProcess() {
    signal(SIGKILL);
    awaitEnd();
  }
  void signal(int number) const {
    if (fPid > 0) ::kill(fPid, number);
  }

  /// The next line that contains `part`; empty when none comes.
  std::string awaitLine(std::string const& part) {
    for (std::string line; std::getline(fOutput, line);) {
      fText += line + '\n';
      if (line.find(part) != std::string::npos) return line;
    }
    return "";
  }

  /// Waits for the end. @return the exit status, or the negated signal.
  int awaitEnd() {
    if (fPid <= 0) return fStatus;
    awaitLine("\n");  // reads all
    int status = 0;
    ::waitpid(fPid, &status, 0);
    fPid = 0;
    return fStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  std::string const& text() const { return fText; }

 private:
  pid_t fPid = 0;
  std::ifstream fOutput;
  int fStatus = 0;
  std::string fText;
};

/// Runs a command of the shell. @return all that it writes.
inline std::string outputOf(std::string const& command, int* status = nullptr) {
  ChildProcess shell({"sh", "-c", "exec >&2; " + command});
  const int end = shell.awaitEnd();
  if (status != nullptr) *status = end;
  return shell.text();
}

/// What hears a daemon as a service manager does, a message at a time.
class Listener {
 public:
  /// @param name of the socket: a path, or '@' and an abstract name.
  explicit Listener(std::string const& name) : fName(name) {
    sockaddr_un address{AF_UNIX, {}};
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    if (name[0] == '@') address.sun_path[0] = '\0';
    const auto size = offsetof(sockaddr_un, sun_path) + name.size();
    EXPECT_EQ(::bind(fSocket.get(), reinterpret_cast<sockaddr*>(&address), socklen_t(size)), 0);
    const timeval patience{30, 0};
    ::setsockopt(fSocket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  }
  std::string next(int flags = 0) const {
    char text[500];
    const auto length = ::recv(fSocket.get(), text, sizeof text, flags);
    return {text, length > 0 ? std::size_t(length) : 0};
  }

  /// Words that run a daemon with this service manager and a watchdog of `interval`.
  std::vector<std::string> words(std::string const& interval) const {
    return {"env", "NOTIFY_SOCKET=" + fName, "WATCHDOG_USEC=" + interval};
  }

 private:
  const std::string fName;
  const UniqueFd fSocket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};
