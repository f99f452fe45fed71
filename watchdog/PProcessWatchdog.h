#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <vector>

#include "framework/IConfig.h"
#include "framework/IEventDispatcher.h"
#include "framework/IExtCounters.h"
#include "framework/ILogger.h"
#include "framework/PConditionalVar.h"
#include "framework/PCounterSync.h"
#include "framework/PMutex.h"
#include "framework/PString.h"
#include "framework/PThread.h"
#include "plugin/PBaseptr.h"
#include "watchdog/Guarded.h"
#include "watchdog/IProcessWatchdog.h"
#include "watchdog/PProcessWatchdogEntry.h"
#include "watchdog/ServiceLock.h"

/// The watchdog service: the registry, the worker thread that samples it, and
/// what follows from the samples. Destroyed by its own `decRef()`.
///
/// One class in four rooms: its life and the registry are implemented in this
/// folder, reading and dumping the configuration in `config/`, sampling in
/// `monitor/`, and decisions, process control and events in `enforce/`.
///
/// `fStopMutex` is the service's only lock. The worker holds it for a whole sample,
/// every registry operation takes it, and the worker gives it up only in its wait. An
/// entry's own lock is held for one copy of a text, and nothing is called meanwhile.
class PProcessWatchdog final : public IProcessWatchdog {
 public:
  /// What was measured of one process since its window began.
  struct ProcData {
    unsigned long long cpuSum = 0;  ///< sum of the CPU samples, percent
    unsigned long long memSum = 0;  ///< sum of the memory samples, KiB
    unsigned int sampleCount = 0;
    unsigned long long windowStart = 0;  ///< tick count, ms; 0 before the first sample

    /// Whether a window of `period` seconds is over at the tick count `now`.
    bool isWindowOver(unsigned long long now, unsigned int period) const;
  };

  /// What the registry holds under a name.
  struct ProcEntry {
    PBaseptr<PProcessWatchdogEntry> entry;
    unsigned int instCount = 0;                 ///< set only while the instances are judged
    std::map<unsigned int, ProcData> procData;  ///< by process id
  };

  /// Obtains the logger; without one the service works and says nothing.
  PProcessWatchdog();
  PProcessWatchdog(PProcessWatchdog const&) = delete;
  PProcessWatchdog& operator=(PProcessWatchdog const&) = delete;

  int incRef() override;
  int decRef() override;

  /// Reads the configuration, obtains the framework's services and starts the
  /// worker, unless all monitoring is switched off. Called once.
  /// @return 0, or the result of the step that failed; the service is then only
  ///         good for being released.
  int init();

  int addProcessEntry(IProcessWatchdogEntry* iEntry) override;
  int removeProcessEntry(PLiteral const& name) override;
  bool containsProcess(PLiteral const& name) const override;
  int getProcessInfo(PLiteral const& name, IProcessWatchdogInfo*& info) const override;

 protected:
  // config/
  int _loadConfig();
  void _dumpConfig();

  void _watchdogThreadProc();
  static void* _staticWatchdogThreadProc(void* service);

 private:
  using Pids = std::vector<unsigned int>;
  /// What is started for an entry. Read whole before anything is ended: what follows
  /// needs no memory, so what was ended is also started.
  struct Program {
    explicit Program(ProcEntry const& procEntry);
    PString name;
    PString executable;
    PString arguments;
    PString workingDir;
  };
  /// One of the logger's three logging operations.
  using LogOperation = int (ILogger::*)(int, const wchar_t*, ...);

  ~PProcessWatchdog();

  // life
  int __init();
  int __obtainServices();
  void __startWatchdog();
  bool __markStopped();  ///< @return whether it was already
  int __stopWatchdog();
  void __watchdogTick();
  void __waitForNextTick();

  // registry
  int __addEntry(PProcessWatchdogEntry* entry);
  /// Runs `operation` with the mutex held. What keeps it from running or from ending is
  /// logged in the name of `method` and returned.
  template <class Operation>
  int __exclusively(const char* method, Operation operation) const noexcept {
    const ServiceLock lock(fStopMutex);
    if (lock.result() != FrameworkResult::ok) {
      __logError(L"[%s] Error locking the stop mutex, res=%d", method, lock.result());
      return lock.result();
    }
    int res = FrameworkResult::ok;
    const int ended = guarded([&] {
      res = operation();
      return FrameworkResult::ok;
    });
    if (ended == FrameworkResult::ok) return res;
    __logError(L"[%s] Ended by an exception, res=%d", method, ended);
    return ended;
  }

  // action names
  ProcessWatchdogActionEnum __stringToAction(PLiteral const& text) const;
  void __actionToString(ProcessWatchdogActionEnum action, PString& text) const;

  // config/
  int __openConfigFile(PBaseptr<IConfig>& config);
  int __loadGlobalConfig(PBaseptr<IConfig>& config);
  int __loadProcessEntries(PBaseptr<IConfig>& config);
  int __loadProcessEntryConfig(unsigned int index, PBaseptr<IConfig>& config,
                               PBaseptr<PProcessWatchdogEntry> entry);
  void __buildProcessEntryKey(PLiteral const& prefix, unsigned int index, PLiteral const& suffix,
                              PString& out) const;
  class EntryLoader;
  class EntryDumper;

  // monitor/
  void __updateEntries();
  void __findAndUpdateEntry(ProcEntry& procEntry);
  void __updateEntry(ProcEntry& procEntry, Pids const& pids, Pids const& parentPids);
  void __samplePid(ProcEntry& procEntry, unsigned int pid);
  unsigned int __getEntryCpuUsageForPid(ProcEntry const& procEntry, unsigned int pid) const;
  unsigned long long __getEntryMemUsageForPid(ProcEntry const& procEntry, unsigned int pid) const;
  bool __shouldIncrementInstCount(ProcEntry const& procEntry, unsigned int pid,
                                  unsigned int parentPid, Pids const& pids) const;

  // enforce/
  int __takeCpuAction(ProcEntry const& procEntry, unsigned int pid, unsigned long long now);
  int __takeMemAction(ProcEntry const& procEntry, unsigned int pid, unsigned long long now);
  int __takeInstAction(ProcEntry const& procEntry, Pids const& pids);
  bool __averageReaches(ProcEntry const& procEntry, unsigned int pid, unsigned long long now,
                        unsigned long long ProcData::*sum, unsigned long long limit,
                        unsigned long long& average) const;
  int __respawn(ProcEntry const& procEntry);
  int __actOnAllInstances(ProcEntry const& procEntry, Pids const& pids);
  int __executeAction(ProcEntry const& procEntry, unsigned int pid);
  int __terminateProcess(ProcEntry const& procEntry, unsigned int pid);
  int __terminateAllProcesses(Pids const& pids);
  int __startProcess(Program const& program);
  int __restartProcess(ProcEntry const& procEntry, unsigned int pid);
  int __restartOs(ProcEntry const& procEntry);
  int __sendEvent(ProcEntry const& procEntry, PLiteral const& topic, int value) const;

  /// Logs through one of the logger's operations, if there is a logger. The
  /// format is wide `printf`; the values are passed on as they are. A logger that
  /// fails changes nothing else.
  template <class... Values>
  void __log(LogOperation operation, const wchar_t* format, Values... values) const noexcept {
    if (!fLogger) return;
    static_cast<void>(guarded([&] { return (fLogger.get()->*operation)(0, format, values...); }));
  }
  template <class... Values>
  void __logError(const wchar_t* format, Values... values) const noexcept {
    __log(&ILogger::error, format, values...);
  }
  template <class... Values>
  void __logInfo(const wchar_t* format, Values... values) const noexcept {
    __log(&ILogger::info, format, values...);
  }
  template <class... Values>
  void __logDebug(const wchar_t* format, Values... values) const noexcept {
    __log(&ILogger::debug, format, values...);
  }

  // Destruction runs through these from the last to the first: the registry goes
  // before the services, and the logger stays for as long as anything may log.
  PCounterSync fRefCount;
  PBaseptr<ILogger> fLogger;
  PThread fWatchdogThread;
  mutable PMutex fStopMutex;
  PConditionalVar fStopCondVar;
  // Written under the mutex; the worker also reads it without, at the end of its
  // loop, hence atomic.
  std::atomic<bool> fStopped{true};
  PBaseptr<IEventDispatcher> fEventDispatcher;
  PBaseptr<IExtCounters> fExtCounters;
  bool fCpuEnabled = true;
  bool fMemEnabled = true;
  bool fInstEnabled = true;
  int fSampleTime = 2;                                     ///< seconds
  std::map<PString, ProcEntry, std::less<>> fProcEntries;  ///< looked up without a copy
};
