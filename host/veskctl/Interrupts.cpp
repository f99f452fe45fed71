#include "host/veskctl/Interrupts.h"

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace ctl {

namespace {

sigset_t requests() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) ::sigaddset(&signals, number);
  return signals;
}

}  // namespace

Interrupts::Interrupts() {
  const sigset_t signals = requests();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  fSignals = UniqueFd(::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
}

Interrupts::~Interrupts() {
  const sigset_t signals = requests();
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

Interrupts::Wake Interrupts::wait(std::chrono::milliseconds atMost) {
  if (fIsStopped) return Wake::stop;
  constexpr std::chrono::milliseconds kDay = std::chrono::hours(24);
  pollfd readable{fSignals.get(), POLLIN, 0};
  ::poll(&readable, 1, static_cast<int>(std::min(atMost, kDay).count()));
  Wake wake = Wake::timeIsOver;
  signalfd_siginfo signal{};
  while (::read(fSignals.get(), &signal, sizeof signal) == sizeof signal) {
    if (signal.ssi_signo == SIGWINCH) {
      wake = Wake::resized;
    } else {
      fIsStopped = true;
    }
  }
  return fIsStopped ? Wake::stop : wake;
}

}  // namespace ctl
