// One reading of one process. A failed reading counts as 0, on purpose: it enters
// the window like any other sample.

#include "framework/PProcess.h"
#include "watchdog/PProcessWatchdog.h"

unsigned int PProcessWatchdog::__getEntryCpuUsageForPid(ProcEntry const& procEntry,
                                                        unsigned int pid) const {
  if (!fCpuEnabled || !procEntry.entry->getCpuEnabled()) return 0;
  unsigned int percent = 0;
  const int res = PProcess::getCPUUsage(pid, percent);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error obtaining the CPU usage of process %u, res=%d",
               "__getEntryCpuUsageForPid", pid, res);
  }
  return percent;
}

unsigned long long PProcessWatchdog::__getEntryMemUsageForPid(ProcEntry const& procEntry,
                                                              unsigned int pid) const {
  if (!fMemEnabled || !procEntry.entry->getMemEnabled()) return 0;
  unsigned long long kib = 0;
  const int res = PProcess::getMemoryUsage(pid, kib);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error obtaining the memory usage of process %u, res=%d",
               "__getEntryMemUsageForPid", pid, res);
  }
  return kib;
}
