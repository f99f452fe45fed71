#include "host/veskctl/Interrupts.h"

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>

namespace ctl {

namespace {

constexpr std::array kRequests = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT, SIGWINCH};

/// A blocked signal comes even if it is ignored, as by nohup: those are left alone.
sigset_t requests() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : kRequests) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) ::sigaddset(&signals, number);
  }
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
    const Wake one = take(static_cast<int>(signal.ssi_signo));
    if (one != Wake::timeIsOver) wake = one;
    fIsStopped = fIsStopped || one == Wake::stop;
  }
  return fIsStopped ? Wake::stop : wake;
}

Interrupts::Wake Interrupts::take(int signal) {
  switch (signal) {
    case SIGTSTP:
    case SIGQUIT:
      pass(signal);
      return Wake::resized;
    case SIGCONT:  // the shell may have written over what was shown
    case SIGWINCH:
      return Wake::resized;
    default:
      return Wake::stop;
  }
}

/// Lets it do what it does to every process. No SIGSTOP for SIGTSTP: where nobody could
/// make the process go on, the kernel leaves the latter out.
void Interrupts::pass(int signal) {
  if (fPausable != nullptr) fPausable->leave();
  sigset_t only;
  ::sigemptyset(&only);
  ::sigaddset(&only, signal);
  ::raise(signal);
  ::pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
  ::pthread_sigmask(SIG_BLOCK, &only, nullptr);
  if (fPausable != nullptr) fPausable->enter();
}

}  // namespace ctl
