#pragma once

#include <chrono>
#include <csignal>
#include <functional>

/// The signals that ask this process to stop: SIGTERM, SIGINT, and SIGHUP unless
/// whoever started the process has it ignored (nohup).
///
/// One object per process, made by the first thread before any other: they are
/// blocked in all threads from then on. Also sees to it that a lost reader of the
/// log does not end the process and that ended programs can be waited for,
/// whatever dispositions were inherited.
class StopSignals {
 public:
  StopSignals();

  /// Waits for a stop signal. From its return on a further SIGINT ends the
  /// process at once; the others stay blocked, as they often come in pairs.
  /// @param idle called each time that none has come for `interval`; never if
  ///        that is zero.
  /// @return the signal's number.
  int wait(std::chrono::microseconds interval, std::function<void()> const& idle);

 private:
  int next(std::chrono::microseconds atMost) const;

  sigset_t fSignals{};
};
