#pragma once

#include <chrono>

#include "host/process/UniqueFd.h"

namespace ctl {

/// Ctrl-C and its like, taken as requests instead of ends.
///
/// While one exists, SIGINT, SIGTERM, SIGHUP and SIGWINCH are blocked in the thread
/// that made it. The main thread has one at most.
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();
  Interrupts(Interrupts const&) = delete;
  Interrupts& operator=(Interrupts const&) = delete;

  enum class Wake { timeIsOver, stop, resized };

  /// Waits for the first of the three. Once it said `stop`, it says so at once.
  Wake wait(std::chrono::milliseconds atMost);

  bool isStopped() { return wait(std::chrono::milliseconds(0)) == Wake::stop; }

  /// Readable when `wait` has something to say.
  int descriptor() const { return fSignals.get(); }

 private:
  UniqueFd fSignals;
  bool fIsStopped = false;
};

}  // namespace ctl
