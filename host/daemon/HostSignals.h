#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

/// What asks this process for something: SIGTERM and SIGINT to stop, SIGHUP to read
/// its configuration again unless whoever started the process has it ignored (nohup).
///
/// One object per process, made by the first thread before any other: they are
/// blocked in all threads from then on. Also sees to it that a lost reader of the
/// log does not end the process and that ended programs can be waited for,
/// whatever dispositions were inherited.
class HostSignals {
 public:
  HostSignals();

  sigset_t const& set() const { return fSignals; }

 private:
  sigset_t fSignals{};
};

/// Takes these signals, also while the main thread is held. From the first that asks
/// for a stop on, a further SIGINT ends the process at once, for as long as this
/// object lives; the others then do nothing, as they often come in pairs.
class SignalThread {
 public:
  /// @param stop called with the number of the first that asks for it, on a thread of
  ///        this object's own; so is `reload`.
  SignalThread(HostSignals const& signals, std::function<void(int)> stop,
               std::function<void()> reload);
  ~SignalThread();
  SignalThread(SignalThread const&) = delete;
  SignalThread& operator=(SignalThread const&) = delete;

 private:
  void work();
  void becomeImpatient();

  sigset_t fSignals;
  std::function<void(int)> fStop;
  std::function<void()> fReload;
  std::atomic<bool> fIsOver{false};
  std::thread fThread;
};
