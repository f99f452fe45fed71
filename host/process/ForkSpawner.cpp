#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "host/process/ISpawner.h"
#include "host/process/UniqueFd.h"

namespace {

constexpr int kFirstFree = 3;  // after the standard streams

/// What the child was doing when it failed; its texts are in `kStepTexts`.
enum Step : int { kSetUp, kWorkingDir, kExecute };

constexpr std::array<const char*, 3> kStepTexts = {
    "cannot set the process up", "cannot enter its working directory", "cannot be executed"};

/// What the child tells its parent, if it cannot become the program.
struct Report {
  Step step;
  int error;
};

/// All that the child needs, made before the fork: after it, nothing may be
/// allocated, since another thread may have held the allocator's lock.
struct Plan {
  const char* path;
  char* const* arguments;
  const char* workingDir;  // null for the host's own
  int input;
  int output;
  int report;
};

/// A copy of a descriptor out of the way of the standard streams, which may
/// themselves be closed in this process.
UniqueFd moveUp(UniqueFd fd) {
  return fd ? UniqueFd(::fcntl(fd.get(), F_DUPFD_CLOEXEC, kFirstFree)) : std::move(fd);
}

UniqueFd openUp(const char* path, int flags) {
  constexpr mode_t kMode = 0640;
  return moveUp(UniqueFd(::open(path, flags | O_CLOEXEC, kMode)));
}

/// Where a bare name is found in PATH; the name itself where it is nowhere, for
/// the kernel to say so.
std::string resolve(std::string const& executable) {
  if (executable.find('/') != std::string::npos) return executable;
  const char* path = std::getenv("PATH");
  std::string_view rest = path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin";
  while (!rest.empty()) {
    const auto length = std::min(rest.find(':'), rest.size());
    std::string candidate = std::string(rest.substr(0, length)) + "/" + executable;
    std::error_code ignored;
    if (length > 0 && std::filesystem::is_regular_file(candidate, ignored) &&
        ::access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return executable;
}

void closeFrom(unsigned int first) {
  if (::syscall(SYS_close_range, first, UINT_MAX, 0U) == 0) return;
  // An older kernel: one by one, as far as descriptors can go.
  constexpr long kMost = 1L << 16;  // the limit itself may be in the billions
  const long limit = std::min(::sysconf(_SC_OPEN_MAX), kMost);
  for (long fd = first; fd < limit; ++fd) ::close(static_cast<int>(fd));
}

[[noreturn]] void failInChild(int report, Step step) {
  const Report message{step, errno};
  static_cast<void>(!::write(report, &message, sizeof message));
  ::_exit(127);
}

/// The child, from the fork to the program. Only calls that are safe in a signal
/// handler.
[[noreturn]] void becomeProgram(Plan const& plan) {
  struct sigaction standard = {};
  standard.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) ::sigaction(signal, &standard, nullptr);
  ::setsid();
  const bool areStreamsSet = ::dup2(plan.input, STDIN_FILENO) >= 0 &&
                             ::dup2(plan.output, STDOUT_FILENO) >= 0 &&
                             ::dup2(plan.output, STDERR_FILENO) >= 0;
  if (!areStreamsSet) failInChild(plan.report, kSetUp);
  if (plan.workingDir != nullptr && ::chdir(plan.workingDir) != 0) {
    failInChild(plan.report, kWorkingDir);
  }
  int report = plan.report;
  if (report != kFirstFree) report = ::dup3(report, kFirstFree, O_CLOEXEC);
  closeFrom(kFirstFree + 1);
  sigset_t nothing;
  ::sigemptyset(&nothing);
  ::sigprocmask(SIG_SETMASK, &nothing, nullptr);
  ::execve(plan.path, plan.arguments, environ);
  failInChild(report, kExecute);
}

/// Forks with all signals blocked, so that no handler of the host's runs in the
/// child.
pid_t forkChild(Plan const& plan) {
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  const pid_t pid = ::fork();
  if (pid == 0) becomeProgram(plan);
  const int error = errno;
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return pid;
}

/// Waits for the child to become the program, which closes the pipe.
/// @return false when it reported a failure instead.
bool awaitProgram(int pipe, Report& report) {
  ssize_t length = -1;
  do {
    length = ::read(pipe, &report, sizeof report);
  } while (length < 0 && errno == EINTR);
  return length != sizeof report;
}

SpawnOutcome failure(int error, std::string cause) { return {0, error, std::move(cause)}; }

class ForkSpawner : public ISpawner {
 public:
  SpawnOutcome spawn(SpawnRequest const& request) override {
    SpawnOutcome outcome;
    UniqueFd null = openUp("/dev/null", O_RDWR);
    UniqueFd output = openOutput(request.output, outcome.cause);
    std::array<int, 2> ends{-1, -1};
    if (!null || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
      return failure(errno, "no descriptor to start it with");
    }
    const UniqueFd readEnd{ends[0]};
    UniqueFd writeEnd = moveUp(UniqueFd(ends[1]));
    if (!writeEnd) return failure(errno, "no descriptor to start it with");

    const std::string path = resolve(request.executable);
    std::vector<char*> arguments = {const_cast<char*>(request.executable.c_str())};
    for (auto const& word : request.arguments) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const char* workingDir = request.workingDir.empty() ? nullptr : request.workingDir.c_str();
    const pid_t pid = forkChild({path.c_str(), arguments.data(), workingDir, null.get(),
                                 output ? output.get() : null.get(), writeEnd.get()});
    if (pid < 0) return failure(errno, "no process to start it in");
    writeEnd.reset();

    Report report{};
    if (!awaitProgram(readEnd.get(), report)) {
      ::waitpid(pid, nullptr, 0);
      return failure(report.error, kStepTexts.at(static_cast<std::size_t>(report.step)));
    }
    outcome.pid = static_cast<unsigned int>(pid);
    return outcome;
  }

 private:
  /// A program is worth more than its output: without the file it runs silent.
  static UniqueFd openOutput(std::string const& path, std::string& cause) {
    if (path.empty()) return {};
    // Not to wait for the reader of a pipe; the program itself may.
    UniqueFd output = openUp(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NONBLOCK);
    if (output) ::fcntl(output.get(), F_SETFL, O_APPEND);
    if (!output) cause = "its output is lost, " + path + ": " + std::strerror(errno);
    return output;
  }
};

}  // namespace

std::unique_ptr<ISpawner> makeForkSpawner() { return std::make_unique<ForkSpawner>(); }
