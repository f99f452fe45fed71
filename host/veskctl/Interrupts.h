#pragma once

#include <chrono>

#include "host/process/UniqueFd.h"

namespace ctl {

/// What holds the terminal in a state of its own.
class IPausable {
 public:
  virtual ~IPausable() = default;
  /// Gives the terminal back, to the shell or for good.
  virtual void leave() = 0;
  /// Takes it again after `leave`.
  virtual void enter() = 0;
};

/// Ctrl-C and its like, taken as requests instead of ends.
///
/// While one exists, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGCONT and SIGWINCH are
/// blocked in the thread that made it, but for those that were ignored before: they stay
/// so. The main thread has one at most.
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();
  Interrupts(Interrupts const&) = delete;
  Interrupts& operator=(Interrupts const&) = delete;

  enum class Wake { timeIsOver, stop, resized };

  /// Waits for the first of the three. Once it said `stop`, it says so at once. Ctrl-Z
  /// stops the process here, and it is as if resized when it goes on; Ctrl-\ ends it here.
  Wake wait(std::chrono::milliseconds atMost);

  bool isStopped() { return wait(std::chrono::milliseconds(0)) == Wake::stop; }

  /// Readable when `wait` has something to say.
  int descriptor() const { return fSignals.get(); }

  /// @param pausable what has to leave the terminal before the process stops; null for
  ///        nobody. It outlives this object, or is taken back.
  void setPausable(IPausable* pausable) { fPausable = pausable; }

 private:
  Wake take(int signal);
  void pass(int signal);

  UniqueFd fSignals;
  IPausable* fPausable = nullptr;
  bool fIsStopped = false;
};

}  // namespace ctl
