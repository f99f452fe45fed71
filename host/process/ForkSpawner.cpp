#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "host/process/ExecutableLookup.h"
#include "host/process/ISpawner.h"
#include "host/process/ProgramLimits.h"
#include "host/process/ProgramStart.h"
#include "host/process/UniqueFd.h"
#include "host/trust/TrustedPath.h"

namespace {

/// A copy of a descriptor out of the way of the standard streams, which may
/// themselves be closed in this process.
UniqueFd moveUp(UniqueFd fd) {
  return fd ? UniqueFd(::fcntl(fd.get(), F_DUPFD_CLOEXEC, kFirstFreeFd)) : std::move(fd);
}

UniqueFd openNull() { return moveUp(UniqueFd(::open("/dev/null", O_RDWR | O_CLOEXEC))); }

/// The texts as `execve` takes them, which changes none.
std::vector<char*> pointersTo(std::vector<std::string> const& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto const& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

/// Forks with all signals blocked, so that no handler of the host's runs in the
/// child.
pid_t forkChild(StartPlan const& plan) {
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
bool awaitProgram(int pipe, StartReport& report) {
  ssize_t length = -1;
  do {
    length = ::read(pipe, &report, sizeof report);
  } while (length < 0 && errno == EINTR);
  return length != sizeof report;
}

/// What the child could not do, in the words of a message.
std::string causeOf(StartReport const& report, std::vector<ProgramLimit> const& limits) {
  switch (report.step) {
    case StartStep::workingDir:
      return "cannot enter its working directory";
    case StartStep::limit:
      return std::string("cannot be given its ") + limitName(limits[report.limit].resource) +
             " limit";
    case StartStep::execute:
      return "cannot be executed";
    default:
      return "cannot set the process up";
  }
}

SpawnOutcome failure(int error, std::string cause) { return {0, error, std::move(cause)}; }

class ForkSpawner : public ISpawner {
 public:
  SpawnOutcome spawn(SpawnRequest const& request) override {
    ProgramSettings const& settings = request.settings;
    SpawnOutcome outcome;
    UniqueFd null = openNull();
    UniqueFd output = openOutput(settings.output, outcome.cause);
    std::array<int, 2> ends{-1, -1};
    if (!null || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
      return failure(errno, "no descriptor to start it with");
    }
    const UniqueFd readEnd{ends[0]};
    UniqueFd writeEnd = moveUp(UniqueFd(ends[1]));
    if (!writeEnd) return failure(errno, "no descriptor to start it with");

    const std::string path = resolveExecutable(request.executable);
    std::vector<char*> arguments = pointersTo(request.arguments);
    arguments.insert(arguments.begin(), const_cast<char*>(request.executable.c_str()));
    const std::vector<char*> environment = pointersTo(settings.environment);
    const char* workingDir = request.workingDir.empty() ? nullptr : request.workingDir.c_str();
    const pid_t pid =
        forkChild({path.c_str(), arguments.data(), environment.data(), workingDir, settings.limits,
                   null.get(), output ? output.get() : null.get(), writeEnd.get()});
    if (pid < 0) return failure(errno, "no process to start it in");
    writeEnd.reset();

    StartReport report;
    if (!awaitProgram(readEnd.get(), report)) {
      ::waitpid(pid, nullptr, 0);
      return failure(report.error, causeOf(report, settings.limits));
    }
    outcome.pid = static_cast<unsigned int>(pid);
    return outcome;
  }

 private:
  /// A program is worth more than its output: without the file it runs silent.
  static UniqueFd openOutput(std::string const& path, std::string& cause) {
    if (path.empty()) return {};
    auto opened = openTrustedOutput(path);
    if (auto const* reason = std::get_if<Distrust>(&opened); reason != nullptr) {
      cause = "its output is lost, " + path + ": " + reason->text;
      return {};
    }
    return moveUp(std::get<UniqueFd>(std::move(opened)));
  }
};

}  // namespace

std::unique_ptr<ISpawner> makeForkSpawner() { return std::make_unique<ForkSpawner>(); }
