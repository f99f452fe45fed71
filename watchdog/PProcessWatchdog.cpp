#include "watchdog/PProcessWatchdog.h"

#include "watchdog/Guarded.h"
#include "watchdog/ObtainInstance.h"

PProcessWatchdog::PProcessWatchdog() {
  // Construction never fails for want of a logger.
  static_cast<void>(guarded([this] {
    const int res = obtainInstance(ID_ILOGGER, fLogger);
    return fLogger ? fLogger->init(L"veskp.watchdog.process.log") : res;
  }));
}

PProcessWatchdog::~PProcessWatchdog() {
  // Guarded, because what leaves a destructor ends the host.
  const int res = guarded([this] { return __stopWatchdog(); });
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error stopping the watchdog thread, res=%d", "~PProcessWatchdog", res);
  }
  // Locked, because a worker that could not be stopped may be in the middle of it.
  const ServiceLock lock(fStopMutex);
  fProcEntries.clear();
}

int PProcessWatchdog::incRef() { return ++fRefCount; }

int PProcessWatchdog::decRef() {
  const int holders = fRefCount.change(-1);
  if (holders == 0) delete this;
  return holders;
}

int PProcessWatchdog::init() {
  return guarded([this] { return __init(); });
}

int PProcessWatchdog::__init() {
  int res = fStopCondVar.init();
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error initializing conditional var, res=%d", "init", res);
    return res;
  }
  res = fStopMutex.init(true);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error initializing stop mutex, res=%d", "init", res);
    return res;
  }
  res = guarded([this] { return _loadConfig(); });
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error loading ProcessWatchdog configuration, res=%d", "init", res);
    return res;
  }
  static_cast<void>(guarded([this] {
    _dumpConfig();
    return FrameworkResult::ok;
  }));
  res = __obtainServices();
  if (res != FrameworkResult::ok) return res;

  if (!fCpuEnabled && !fMemEnabled && !fInstEnabled) {
    __logInfo(L"[%s] All monitoring disabled, not starting the thread", "init");
    return FrameworkResult::ok;
  }
  __startWatchdog();
  res = fWatchdogThread.pcreate(_staticWatchdogThreadProc, this);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error creating watchdog thread, res=%d", "init", res);
    return res;
  }
  __logDebug(L"[%s] Started watchdog thread (id=%p)", "init", fWatchdogThread.getThreadId());
  return FrameworkResult::ok;
}

int PProcessWatchdog::__obtainServices() {
  int res = obtainInstance(ID_IEVENTDISPATCHER, fEventDispatcher);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error obtaining instance of IEventDispatcher, res=%d", "init", res);
    return res;
  }
  res = obtainInstance(ID_IEXTCOUNTERS, fExtCounters);
  if (res != FrameworkResult::ok) {
    // The one service that the watchdog can do without.
    __logError(L"[%s] Error obtaining instance of IExtCounters, res=%d", "init", res);
  }
  return FrameworkResult::ok;
}

void PProcessWatchdog::__startWatchdog() {
  const ServiceLock lock(fStopMutex);
  fStopped = false;
}

bool PProcessWatchdog::__markStopped() {
  // Locking fails where `init()` never got as far as the mutex; no worker runs then, and
  // the flag says so. Otherwise a worker about to wait sees the flag after that wait.
  const ServiceLock lock(fStopMutex);
  return fStopped.exchange(true);
}

int PProcessWatchdog::__stopWatchdog() {
  if (__markStopped()) return FrameworkResult::ok;

  int res = fStopCondVar.notifyAll();
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error notifying the stop conditional var, res=%d", "__stopWatchdog", res);
    return res;
  }
  __logDebug(L"[%s] Waiting for the watchdog thread to finish", "__stopWatchdog");
  void* threadResult = nullptr;
  res = fWatchdogThread.pjoin(threadResult);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error joining the watchdog thread, res=%d", "__stopWatchdog", res);
    return res;
  }
  __logDebug(L"[%s] Detaching fWatchdogThread thread...", "__stopWatchdog");
  fWatchdogThread.pdetach();
  __logDebug(L"[%s] Finished waiting for the watchdog thread", "__stopWatchdog");
  return FrameworkResult::ok;
}
