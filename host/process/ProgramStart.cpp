#include "host/process/ProgramStart.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace {

constexpr mode_t kUmask = 022;

[[noreturn]] void fail(int report, StartStep step, std::size_t limit = 0) {
  const StartReport message{step, limit, errno};
  static_cast<void>(!::write(report, &message, sizeof message));
  ::_exit(127);
}

/// What an exec would leave as it is in the host: ignored signals, the terminal
/// and the mask of files' modes.
void leaveTheHost() {
  struct sigaction standard = {};
  standard.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) ::sigaction(signal, &standard, nullptr);
  ::setsid();
  ::umask(kUmask);
}

bool setStreams(StartPlan const& plan) {
  return ::dup2(plan.input, STDIN_FILENO) >= 0 && ::dup2(plan.output, STDOUT_FILENO) >= 0 &&
         ::dup2(plan.output, STDERR_FILENO) >= 0;
}

/// Closes all descriptors but the streams and the report. @return the report.
int closeTheRest(int report) {
  if (report != kFirstFreeFd) report = ::dup3(report, kFirstFreeFd, O_CLOEXEC);
  ::closefrom(kFirstFreeFd + 1);
  return report;
}

void setLimits(std::span<ProgramLimit const> limits, int report) {
  for (std::size_t i = 0; i < limits.size(); ++i) {
    const rlimit limit{limits[i].soft, limits[i].hard};
    if (::setrlimit(limits[i].resource, &limit) != 0) fail(report, StartStep::limit, i);
  }
}

}  // namespace

void becomeProgram(StartPlan const& plan) {
  leaveTheHost();
  if (!setStreams(plan)) fail(plan.report, StartStep::setUp);
  if (plan.workingDir != nullptr && ::chdir(plan.workingDir) != 0) {
    fail(plan.report, StartStep::workingDir);
  }
  const int report = closeTheRest(plan.report);
  // After all that a low limit would hinder.
  setLimits(plan.limits, report);
  sigset_t nothing;
  ::sigemptyset(&nothing);
  ::sigprocmask(SIG_SETMASK, &nothing, nullptr);
  ::execve(plan.path, plan.arguments, plan.environment);
  fail(report, StartStep::execute);
}
