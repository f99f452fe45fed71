// What the watchdog asks of processes, as the board takes it down.

#include <algorithm>
#include <new>

#include "host/watch/WatchBoard.h"

void WatchBoard::beginLook(std::string const& name) noexcept {
  try {
    const std::lock_guard lock(fMutex);
    ThreadPass* pass = fThreads.makeMine();
    if (pass == nullptr) return;
    const auto now = fClock->monotonic();
    const bool isNext =
        pass->isSpent(name) || (pass->isIdle(now) && !isStillToLookFor(*pass, name));
    pass->isInCall = true;
    pass->pid = 0;
    pass->isEntryTold = false;
    if (isNext) beginPass(*pass, now);
    if (isWatchdog(*pass)) endTurn();
    pass->entry = name;
    pass->isEntryTold = true;
    pass->names.insert(name);
  } catch (std::bad_alloc const&) {
  }
}

void WatchBoard::endLook(std::string const& name, int result, std::vector<unsigned int> const& pids,
                         std::vector<unsigned int> const& parentPids) noexcept {
  const std::lock_guard lock(fMutex);
  ThreadPass* pass = fThreads.mine();
  if (pass == nullptr) return;
  pass->isInCall = false;
  pass->ended = fClock->monotonic();
  if (!isWatchdog(*pass)) return;
  Watched* entry = nullptr;
  try {
    entry = &entryOf(name);
    entry->lookedForIn = fPass.count;
    entry->mirror.found(result, fClock->wall(), pids, parentPids);
    fTurn = entry;
  } catch (std::bad_alloc const&) {
    if (entry != nullptr) entry->mirror.forgetProcesses();
  }
}

WatchBoard::Reading WatchBoard::beginReading(unsigned int pid) noexcept {
  ThreadPass* pass = fThreads.mine();
  if (pass == nullptr) return {nullptr, {}};
  pass->isInCall.store(true, std::memory_order_relaxed);
  // The first question about a process is when its turn begins.
  const bool isFirst = pass->pid.load(std::memory_order_relaxed) != pid;
  if (isFirst) pass->pid.store(pid, std::memory_order_relaxed);
  return {pass, isFirst ? fClock->monotonic() : std::chrono::microseconds(0)};
}

template <class Note>
void WatchBoard::endReading(Reading const& reading, Note&& note) noexcept {
  if (reading.pass == nullptr) return;
  ThreadPass& pass = *reading.pass;
  const std::lock_guard lock(fMutex);
  pass.isInCall.store(false, std::memory_order_relaxed);
  Watched* entry = turnOf(pass);
  if (entry != nullptr) {
    const auto begun = std::chrono::floor<std::chrono::milliseconds>(reading.begun);
    note(entry->mirror, CallTimes{begun, *fClock});
  }
  if (entry == nullptr || entry->mirror.isAtLast()) {
    pass.ended = fClock->monotonic();
  } else {
    pass.ended = std::max(pass.ended, reading.begun);
  }
}

void WatchBoard::endRunning(Reading const& reading, unsigned int pid, int result,
                            bool isRunning) noexcept {
  endReading(reading, [&](EntryMirror& mirror, CallTimes const& times) {
    mirror.noteRunning(pid, times, result, isRunning);
  });
}

void WatchBoard::endCpu(Reading const& reading, unsigned int pid, int result,
                        unsigned int percent) noexcept {
  endReading(reading, [&](EntryMirror& mirror, CallTimes const& times) {
    mirror.noteCpu(pid, times, result, percent);
  });
}

void WatchBoard::endMemory(Reading const& reading, unsigned int pid, int result,
                           unsigned long long kib) noexcept {
  endReading(reading, [&](EntryMirror& mirror, CallTimes const& times) {
    mirror.noteMemory(pid, times, result, kib);
  });
}

void WatchBoard::endTurn() noexcept {
  if (fTurn != nullptr) fTurn->mirror.settle();
  fTurn = nullptr;
}

/// The entry that the watchdog is at, if this is its thread.
WatchBoard::Watched* WatchBoard::turnOf(ThreadPass const& pass) {
  return isWatchdog(pass) ? fTurn : nullptr;
}
