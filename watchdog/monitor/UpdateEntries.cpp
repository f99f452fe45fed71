// One pass over the registry: find, sample, judge.

#include "framework/PProcess.h"
#include "framework/PTime.h"
#include "watchdog/PProcessWatchdog.h"

bool PProcessWatchdog::ProcData::isWindowOver(unsigned long long now, unsigned int period) const {
  constexpr unsigned int kMsPerSecond = 1000;
  const long long elapsed =
      PTime::getTickCountDiff(static_cast<long long>(windowStart), static_cast<long long>(now));
  // The product wraps at 32 bits, and only then widens.
  const unsigned int threshold = kMsPerSecond * period;
  return elapsed >= threshold;
}

void PProcessWatchdog::__updateEntries() {
  for (auto& [key, procEntry] : fProcEntries) {
    // An exception costs its entry this sample; the others are still looked at.
    const int res = guarded([this, &procEntry = procEntry] {
      __findAndUpdateEntry(procEntry);
      return FrameworkResult::ok;
    });
    if (res != FrameworkResult::ok) {
      procEntry.instCount = 0;
      __logError(L"[%s] Updating `%ls' ended by an exception, res=%d", "__updateEntries",
                 key.c_str(), res);
    }
  }
}

void PProcessWatchdog::__findAndUpdateEntry(ProcEntry& procEntry) {
  PString const name(procEntry.entry->name());
  Pids pids;
  Pids parentPids;
  const int res = PProcess::find(name, pids, parentPids);
  const bool isFound = res == FrameworkResult::ok;
  if (isFound || (res == FrameworkResult::notFound && procEntry.entry->getRespawnEnabled())) {
    __updateEntry(procEntry, pids, parentPids);
  } else if (res != FrameworkResult::notFound) {
    __logError(L"[%s] Error obtaining process IDs for process `%ls', res=%d", "__updateEntries",
               name.c_str(), res);
  }
}

void PProcessWatchdog::__updateEntry(ProcEntry& procEntry, Pids const& pids,
                                     Pids const& parentPids) {
  PString const name(procEntry.entry->name());
  unsigned int instances = 0;
  for (std::size_t i = 0; i < pids.size(); ++i) {
    const unsigned int pid = pids[i];
    const auto now = static_cast<unsigned long long>(PTime::getTickCount());
    if (__shouldIncrementInstCount(procEntry, pid, parentPids[i], pids)) ++instances;
    __samplePid(procEntry, pid);

    int res = __takeCpuAction(procEntry, pid, now);
    if (res != FrameworkResult::ok) {
      __logError(L"[%s] Error taking CPU action for proces `%ls', pid=%u, res=%d", "__updateEntry",
                 name.c_str(), pid, res);
    }
    res = __takeMemAction(procEntry, pid, now);
    if (res != FrameworkResult::ok) {
      __logError(L"[%s] Error taking memory action for proces `%ls', pid=%u, res=%d",
                 "__updateEntry", name.c_str(), pid, res);
    }
    // The first window that is over ends the windows of all processes of the
    // entry, so no reference into the map may be held across this.
    if (procEntry.procData.at(pid).isWindowOver(now, procEntry.entry->getPeriod())) {
      procEntry.procData.clear();
      procEntry.instCount = 0;
    }
  }

  procEntry.instCount = instances;
  const int res = __takeInstAction(procEntry, pids);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error taking instance count action for proces `%ls', res=%d", "__updateEntry",
               name.c_str(), res);
  }
  procEntry.instCount = 0;
}

void PProcessWatchdog::__samplePid(ProcEntry& procEntry, unsigned int pid) {
  const unsigned int cpu = __getEntryCpuUsageForPid(procEntry, pid);
  const unsigned long long mem = __getEntryMemUsageForPid(procEntry, pid);
  ProcData& data = procEntry.procData[pid];
  if (data.windowStart == 0) {
    data.windowStart = static_cast<unsigned long long>(PTime::getTickCount());
  }
  data.cpuSum += cpu;
  ++data.sampleCount;
  data.memSum += mem;
}
