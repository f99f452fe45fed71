// Which of the processes found count as instances.

#include <algorithm>

#include "framework/PProcess.h"
#include "watchdog/PProcessWatchdog.h"

bool PProcessWatchdog::__shouldIncrementInstCount(ProcEntry const& procEntry, unsigned int pid,
                                                  unsigned int parentPid, Pids const& pids) const {
  if (!fInstEnabled) return false;
  auto const& entry = procEntry.entry;
  if (!entry->getInstEnabled() && !entry->getRespawnEnabled()) return false;

  // Asked for every process: one whose state cannot be read never counts.
  bool isRunning = false;
  const int res = PProcess::isRunning(pid, isRunning);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error obtaining the state of process %u, res=%d",
               "__shouldIncrementInstCount", pid, res);
    return false;
  }
  if (entry->getShouldCountOnlyRunning() && !isRunning) return false;
  const auto parentIsInstance = [&] {
    return std::find(pids.begin(), pids.end(), parentPid) != pids.end();
  };
  return !entry->getShouldCountOnlyDiffParents() || !parentIsInstance();
}
