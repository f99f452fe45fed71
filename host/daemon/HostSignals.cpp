#include "host/daemon/StopSignals.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace {

bool isIgnored(int number) {
  struct sigaction action {};
  return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

StopSignals::StopSignals() {
  ::sigemptyset(&fSignals);
  ::sigaddset(&fSignals, SIGTERM);
  ::sigaddset(&fSignals, SIGINT);
  if (!isIgnored(SIGHUP)) ::sigaddset(&fSignals, SIGHUP);
  ::pthread_sigmask(SIG_BLOCK, &fSignals, nullptr);
  // A log whose reader is gone, or whose file may not grow, is no reason to end.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGCHLD, SIG_DFL);
}

/// @param atMost zero for as long as it takes.
/// @return the signal's number, or below zero when none has come.
int StopSignals::next(std::chrono::microseconds atMost) const {
  if (atMost.count() == 0) return ::sigwaitinfo(&fSignals, nullptr);
  // What fits into the seconds of any machine.
  atMost = std::min<std::chrono::microseconds>(atMost, std::chrono::hours(24));
  const auto seconds = std::chrono::floor<std::chrono::seconds>(atMost);
  const std::chrono::nanoseconds rest = atMost - seconds;
  timespec timeout{};
  timeout.tv_sec = static_cast<decltype(timeout.tv_sec)>(seconds.count());
  timeout.tv_nsec = static_cast<decltype(timeout.tv_nsec)>(rest.count());
  return ::sigtimedwait(&fSignals, nullptr, &timeout);
}

int StopSignals::wait(std::chrono::microseconds interval, std::function<void()> const& idle) {
  int number = -1;
  while ((number = next(interval)) < 0) {
    if (errno == EAGAIN) idle();
  }
  // What came together with the first one is the same request.
  const timespec now{};
  while (::sigtimedwait(&fSignals, nullptr, &now) > 0) {
  }
  std::signal(SIGINT, SIG_DFL);
  sigset_t impatience;
  ::sigemptyset(&impatience);
  ::sigaddset(&impatience, SIGINT);
  ::pthread_sigmask(SIG_UNBLOCK, &impatience, nullptr);
  return number;
}
