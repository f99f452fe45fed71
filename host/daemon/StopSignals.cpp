#include "host/daemon/StopSignals.h"

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

int StopSignals::wait() {
  int number = 0;
  do {
    number = ::sigwaitinfo(&fSignals, nullptr);
  } while (number < 0 && errno == EINTR);
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
