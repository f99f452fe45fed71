// The worker thread: one tick at once, then one after every wait.

#include "watchdog/Guarded.h"
#include "watchdog/PProcessWatchdog.h"

void* PProcessWatchdog::_staticWatchdogThreadProc(void* service) {
  // The outermost call of the thread: an exception has nowhere to go from here.
  static_cast<void>(guarded([service] {
    PThread::setName("[PProcessWatchdog]");
    static_cast<PProcessWatchdog*>(service)->_watchdogThreadProc();
    return FrameworkResult::ok;
  }));
  return nullptr;
}

void PProcessWatchdog::_watchdogThreadProc() {
  __logDebug(L"[%s] Starting process watchdog loop (current thread id = %p)", "_watchdogThreadProc",
             PThread::getCurrentThreadId());
  while (!fStopped) {
    __watchdogTick();
    __waitForNextTick();
  }
  __logDebug(L"[%s] Thread loop finished", "_watchdogThreadProc");
}

void PProcessWatchdog::__watchdogTick() {
  // Without the lock a tick is left out; the next one tries again.
  static_cast<void>(__exclusively("__watchdogTick", [this] {
    __updateEntries();
    return FrameworkResult::ok;
  }));
}

void PProcessWatchdog::__waitForNextTick() {
  constexpr unsigned int kMsPerSecond = 1000;
  const ServiceLock lock(fStopMutex);
  int res = lock.result();
  // No predicate: whatever wakes the worker leads to the stop check and, when it
  // is not stopped, to a tick.
  if (res == FrameworkResult::ok) {
    res = guarded([this] {
      return fStopCondVar.wait(&fStopMutex, kMsPerSecond * static_cast<unsigned int>(fSampleTime));
    });
  }
  if (res != FrameworkResult::ok && res != FrameworkResult::timedOut) {
    __logError(L"[%s] Failed to wait on conditinal var, res=%d", "_watchdogThreadProc", res);
    fStopped = true;
  }
}
