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
    // A tick that ends by an exception costs that tick, not the watchdog.
    const int res = guarded([this] {
      __watchdogTick();
      return FrameworkResult::ok;
    });
    if (res != FrameworkResult::ok) {
      __logError(L"[%s] Tick ended by an exception, res=%d", "_watchdogThreadProc", res);
    }
    __waitForNextTick();
  }
  __logDebug(L"[%s] Thread loop finished", "_watchdogThreadProc");
}

void PProcessWatchdog::__watchdogTick() {
  const Lock lock(fStopMutex);
  __updateEntries();
}

void PProcessWatchdog::__waitForNextTick() {
  constexpr unsigned int kMsPerSecond = 1000;
  const Lock lock(fStopMutex);
  // No predicate: whatever wakes the worker leads to the stop check and, when it
  // is not stopped, to a tick.
  const int res =
      fStopCondVar.wait(&fStopMutex, kMsPerSecond * static_cast<unsigned int>(fSampleTime));
  if (res != FrameworkResult::ok && res != FrameworkResult::timedOut) {
    __logError(L"[%s] Failed to wait on conditinal var, res=%d", "_watchdogThreadProc", res);
    fStopped = true;
  }
}
