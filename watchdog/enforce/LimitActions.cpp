// What the measurements lead to: limits of averages and counts.

#include "watchdog/PProcessWatchdog.h"

bool PProcessWatchdog::__averageReaches(ProcEntry const& procEntry, unsigned int pid,
                                        unsigned long long now, unsigned long long ProcData::*sum,
                                        unsigned long long limit,
                                        unsigned long long& average) const {
  const auto found = procEntry.procData.find(pid);
  if (found == procEntry.procData.end() || found->second.sampleCount == 0) return false;
  ProcData const& data = found->second;
  if (!data.isWindowOver(now, procEntry.entry->getPeriod())) return false;
  average = data.*sum / data.sampleCount;
  return average >= limit;
}

int PProcessWatchdog::__takeCpuAction(ProcEntry const& procEntry, unsigned int pid,
                                      unsigned long long now) {
  if (!fCpuEnabled || !procEntry.entry->getCpuEnabled()) return FrameworkResult::ok;
  const unsigned long limit = static_cast<unsigned char>(procEntry.entry->getCpuLimit());
  unsigned long long average = 0;
  if (!__averageReaches(procEntry, pid, now, &ProcData::cpuSum, limit, average)) {
    return FrameworkResult::ok;
  }
  PString const name(procEntry.entry->name());
  __logInfo(L"[%s] CPU too high (average=%lu, limit=%lu) for process `%ls', pid %u'",
            "__takeCpuAction", static_cast<unsigned long>(average), limit, name.c_str(), pid);
  __sendEvent(procEntry, kTopicCpuHigh, static_cast<int>(pid));
  return __executeAction(procEntry, pid);
}

int PProcessWatchdog::__takeMemAction(ProcEntry const& procEntry, unsigned int pid,
                                      unsigned long long now) {
  if (!fMemEnabled || !procEntry.entry->getMemEnabled()) return FrameworkResult::ok;
  const unsigned long long limit = procEntry.entry->getMemLimit();
  unsigned long long average = 0;
  if (!__averageReaches(procEntry, pid, now, &ProcData::memSum, limit, average)) {
    return FrameworkResult::ok;
  }
  PString const name(procEntry.entry->name());
  __logInfo(L"[%s] Memory too high (average=%llu, limit=%llu) for process `%ls', pid %u",
            "__takeMemAction", average, limit, name.c_str(), pid);
  __sendEvent(procEntry, kTopicMemHigh, static_cast<int>(pid));
  return __executeAction(procEntry, pid);
}

int PProcessWatchdog::__takeInstAction(ProcEntry const& procEntry, Pids const& pids) {
  if (!fInstEnabled) return FrameworkResult::ok;
  auto const& entry = procEntry.entry;
  // Compared as unsigned: a negative minimum is more than there can ever be.
  if (entry->getRespawnEnabled() &&
      procEntry.instCount < static_cast<unsigned int>(entry->getRespawnLimit())) {
    return __respawn(procEntry);
  }
  if (!entry->getInstEnabled() || procEntry.instCount < entry->getInstLimit())
    return FrameworkResult::ok;

  PString const name(entry->name());
  PString actionName;
  __actionToString(entry->getAction(), actionName);
  __logInfo(
      L"[%s] Instance count too high (current=%lu, limit=%lu) for process `%ls', taking "
      L"action %ls",
      "__takeInstAction", static_cast<unsigned long>(procEntry.instCount),
      static_cast<unsigned long>(entry->getInstLimit()), name.c_str(), actionName.c_str());
  __sendEvent(procEntry, kTopicInstHigh, static_cast<int>(procEntry.instCount));
  if (fExtCounters) {
    static_cast<void>(guarded([this] { return fExtCounters->increment(L"wd_proc_count"); }));
  }
  return __actOnAllInstances(procEntry, pids);
}

int PProcessWatchdog::__respawn(ProcEntry const& procEntry) {
  PString const name(procEntry.entry->name());
  const auto limit = static_cast<unsigned int>(procEntry.entry->getRespawnLimit());
  __logDebug(L"[%s] Respawning [%ls] current=%u, limit=%u", "__takeInstAction", name.c_str(),
             procEntry.instCount, limit);
  __logInfo(
      L"[%s] Instance count too Low (current=%u, limit=%u) for process `%ls', taking action "
      L"Respawn",
      "__takeInstAction", procEntry.instCount, limit, name.c_str());
  return __startProcess(Program(procEntry));
}

int PProcessWatchdog::__actOnAllInstances(ProcEntry const& procEntry, Pids const& pids) {
  PString const name(procEntry.entry->name());
  switch (procEntry.entry->getAction()) {
    case terminate:
      __logInfo(L"[%s] Killing all processes named `%ls'", "__takeInstAction", name.c_str());
      return __terminateAllProcesses(pids);
    case restart: {
      Program const program(procEntry);
      __logInfo(L"[%s] Killing all processes named `%ls' before restarting the process",
                "__takeInstAction", name.c_str());
      const int res = __terminateAllProcesses(pids);
      if (res != FrameworkResult::ok) {
        __logError(L"[%s] Error terminating all processes, res=%d", "__takeInstAction", res);
      }
      return __startProcess(program);
    }
    case osrestart:
      return __restartOs(procEntry);
    case none:
    default:
      return FrameworkResult::ok;
  }
}
