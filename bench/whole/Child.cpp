#include "bench/whole/Child.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "bench/whole/Interruption.h"
#include "bench/whole/Scratch.h"

namespace {

/// What this process was started with.
rlimit inheritedLimit() {
  static const rlimit limit = [] {
    rlimit current{};
    ::getrlimit(RLIMIT_NOFILE, &current);
    return current;
  }();
  return limit;
}

[[noreturn]] void become(const char* program, char* const* arguments, const char* output,
                         pid_t parent) {
  constexpr int kCannotStart = 127;
  const rlimit limit = inheritedLimit();
  ::setrlimit(RLIMIT_NOFILE, &limit);
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(kCannotStart);
  const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int out = ::open(output, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (::dup2(in, STDIN_FILENO) >= 0 && ::dup2(out, STDOUT_FILENO) >= 0 &&
      ::dup2(out, STDERR_FILENO) >= 0) {
    ::execv(program, arguments);
  }
  ::_exit(kCannotStart);
}

pid_t launch(std::string const& program, std::vector<std::string> const& arguments,
             std::string const& output) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string const& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) become(program.c_str(), pointers.data(), output.c_str(), parent);
  if (pid < 0) throw std::runtime_error("cannot fork for " + program);
  return pid;
}

int statusOf(int waited) {
  constexpr int kSignalled = 128;
  return WIFEXITED(waited) ? WEXITSTATUS(waited) : kSignalled + WTERMSIG(waited);
}

}  // namespace

void raiseDescriptorLimit(unsigned long wanted) {
  rlimit limit = inheritedLimit();
  if (limit.rlim_cur >= wanted) return;
  const rlimit raised{wanted, std::max<rlim_t>(limit.rlim_max, wanted)};
  if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) return;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, wanted);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

Child::Child(std::string const& program, std::vector<std::string> const& arguments,
             std::string const& output)
    : fPid(launch(program, arguments, output)) {}

Child::~Child() {
  if (fPid == 0) return;
  ::kill(fPid, SIGKILL);
  while (::waitpid(fPid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

int Child::wait() {
  int waited = 0;
  await("the end of a process", [&] { return ::waitpid(fPid, &waited, WNOHANG) != 0; });
  fPid = 0;
  return statusOf(waited);
}

void Child::expectAlive(std::string const& log) {
  int waited = 0;
  if (::waitpid(fPid, &waited, WNOHANG) == 0) return;
  fPid = 0;
  throw std::runtime_error("a process has ended with status " + std::to_string(statusOf(waited)) +
                           ":\n" + readText(log));
}
