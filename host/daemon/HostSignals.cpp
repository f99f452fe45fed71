#include "host/daemon/HostSignals.h"

#include <pthread.h>

#include <ctime>
#include <utility>

namespace {

bool isIgnored(int number) {
  struct sigaction action {};
  return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

HostSignals::HostSignals() {
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

SignalThread::SignalThread(HostSignals const& signals, std::function<void(int)> stop,
                           std::function<void()> reload)
    : fSignals(signals.set()),
      fStop(std::move(stop)),
      fReload(std::move(reload)),
      fThread([this] { work(); }) {}

SignalThread::~SignalThread() {
  fIsOver = true;
  ::pthread_kill(fThread.native_handle(), SIGTERM);  // it waits for that one always
  fThread.join();
}

void SignalThread::work() {
  ::pthread_setname_np(::pthread_self(), "[signals]");
  bool isStopping = false;
  while (!fIsOver) {
    const int number = ::sigwaitinfo(&fSignals, nullptr);
    if (fIsOver || number <= 0 || isStopping) continue;
    if (number == SIGHUP) {
      fReload();
      continue;
    }
    isStopping = true;
    becomeImpatient();
    fStop(number);
  }
}

void SignalThread::becomeImpatient() {
  // What came together with the first one is the same request.
  const timespec now{};
  while (::sigtimedwait(&fSignals, nullptr, &now) > 0) {
  }
  std::signal(SIGINT, SIG_DFL);
  ::sigdelset(&fSignals, SIGINT);
  sigset_t impatience;
  ::sigemptyset(&impatience);
  ::sigaddset(&impatience, SIGINT);
  ::pthread_sigmask(SIG_UNBLOCK, &impatience, nullptr);
}
