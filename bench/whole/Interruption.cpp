#include "bench/whole/Interruption.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>

namespace {

volatile std::sig_atomic_t asked = 0;

}  // namespace

void interruptOnSignals() {
  struct sigaction action {};
  action.sa_handler = [](int) { asked = 1; };  // no SA_RESTART: a sleep is cut short
  for (const int signal : std::array{SIGINT, SIGTERM, SIGHUP}) {
    ::sigaction(signal, &action, nullptr);
  }
}

void checkInterruption() {
  if (asked != 0) throw Interruption();
}

void sleepUntil(SteadyTime time) {
  // Cut into pieces: a signal right before the sleep would not cut it short.
  constexpr auto kPiece = std::chrono::milliseconds(500);
  for (auto now = std::chrono::steady_clock::now(); now < time;
       now = std::chrono::steady_clock::now()) {
    checkInterruption();
    const auto left = std::min<std::chrono::nanoseconds>(time - now, kPiece);
    const timespec duration{0, static_cast<long>(left.count() % 1'000'000'000)};
    ::clock_nanosleep(CLOCK_MONOTONIC, 0, &duration, nullptr);
  }
  checkInterruption();
}

void sleepFor(std::chrono::milliseconds duration) {
  sleepUntil(std::chrono::steady_clock::now() + duration);
}
