#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

/// Thrown where the benchmark waits, once it was asked to stop, so that all that
/// it started is ended on the way out.
struct Interruption : std::runtime_error {
  Interruption() : std::runtime_error("interrupted") {}
};

using SteadyTime = std::chrono::steady_clock::time_point;

/// From now on SIGINT, SIGTERM and SIGHUP make every wait throw.
void interruptOnSignals();

/// @throws Interruption
void checkInterruption();

/// @throws Interruption
void sleepUntil(SteadyTime time);

/// @throws Interruption
void sleepFor(std::chrono::milliseconds duration);

/// Polls until the condition holds. @throws std::runtime_error "... in time: WHAT"
/// when it does not become true, Interruption
template <class Condition>
void await(const char* what, Condition const& condition,
           std::chrono::milliseconds patience = std::chrono::seconds(30)) {
  const SteadyTime until = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > until) {
      throw std::runtime_error(std::string("did not happen in time: ") + what);
    }
    sleepFor(std::chrono::milliseconds(20));
  }
}
