// A process to be watched: it sleeps, under a name of its own.
//
//   NAME [OTHER]
//
// It is called NAME (its zeroth argument); on SIGUSR1 it calls itself OTHER, on
// SIGUSR2 NAME again.

#include <sys/prctl.h>

#include <csignal>

int main(int argc, char** argv) {
  ::prctl(PR_SET_NAME, argv[0]);
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGUSR1);
  ::sigaddset(&signals, SIGUSR2);
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  for (;;) {
    int signal = 0;
    if (::sigwait(&signals, &signal) != 0) return 1;
    ::prctl(PR_SET_NAME, signal == SIGUSR1 && argc > 1 ? argv[1] : argv[0]);
  }
}
