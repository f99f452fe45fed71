#include "host/watch/EntryMirror.h"

#include <fmt/format.h>

#include <algorithm>

#include "framework/PResult.h"
#include "host/watch/LimitTexts.h"

EntryMirror::EntryMirror(std::string const& name, GlobalSettings const& globals)
    : fGlobals(globals) {
  fSettings.name = name;
}

void EntryMirror::put(EntrySettings settings) {
  fSettings = std::move(settings);
  fIsKnown = true;
}

void EntryMirror::found(int result, WallTime at, Pids const& pids, Pids const& parentPids) {
  settle();
  fLastKill = {};
  fLookedAt = at;
  fFindResult = result;
  if (!areSame(pids, parentPids)) replaceProcesses(pids, parentPids);
  beginTurn();
}

void EntryMirror::beginAnew() noexcept {
  forgetProcesses();
  fLastKill = {};
  fLookedAt.reset();
  fFindResult = 0;
}

void EntryMirror::forgetProcesses() noexcept {
  fProcesses.clear();
  fGone.clear();
  fCurrent = kNone;
}

bool EntryMirror::areSame(Pids const& pids, Pids const& parentPids) const {
  if (pids.size() != fProcesses.size() || parentPids.size() != pids.size()) return false;
  for (std::size_t i = 0; i < pids.size(); ++i) {
    InstanceView const& seen = fProcesses[i].seen;
    if (seen.pid != pids[i] || seen.parentPid != parentPids[i]) return false;
  }
  return true;
}

void EntryMirror::replaceProcesses(Pids const& pids, Pids const& parentPids) {
  std::vector<Process> former;
  former.swap(fProcesses);
  fProcesses.reserve(pids.size());
  for (std::size_t i = 0; i < std::min(pids.size(), parentPids.size()); ++i) {
    const auto known = std::ranges::find(former, pids[i], [](auto& each) { return each.seen.pid; });
    Process process;
    if (known != former.end()) {
      process = *known;
      former.erase(known);
    } else {
      process.window = takeWindow(pids[i]);
    }
    process.seen.pid = pids[i];
    process.seen.parentPid = parentPids[i];
    fProcesses.push_back(process);
  }
  for (Process const& process : former) {
    if (process.window.samples > 0) fGone.emplace_back(process.seen.pid, process.window);
  }
}

EntryMirror::Window EntryMirror::takeWindow(unsigned int pid) {
  const auto gone = std::ranges::find(fGone, pid, [](auto& each) { return each.first; });
  if (gone == fGone.end()) return {};
  const Window window = gone->second;
  fGone.erase(gone);
  return window;
}

/// What is not asked any more is not known any more.
void EntryMirror::beginTurn() {
  const bool isCounted =
      !fIsKnown || (fGlobals.instEnabled && (fSettings.instEnabled || fSettings.respawnEnabled));
  const bool hasCpu = !fIsKnown || (fGlobals.cpuEnabled && fSettings.cpuEnabled);
  const bool hasMemory = !fIsKnown || (fGlobals.memEnabled && fSettings.memEnabled);
  for (Process& process : fProcesses) {
    process.isBegun = process.isSampled = false;
    process.isCpuActedOn = process.isMemoryActedOn = false;
    if (!isCounted) {
      process.seen.counts = false;
      process.seen.isRunning.reset();
    }
    if (!hasCpu) process.seen.cpuPercent.reset();
    if (!hasMemory) process.seen.memoryKib.reset();
  }
}

/// The process that a reading is about, which is the one that is handled from now
/// on; null for a reading that is none of the watchdog's.
EntryMirror::Process* EntryMirror::turnTo(unsigned int pid, CallTimes const& times) {
  if (Process* process = current(); process != nullptr && process->seen.pid == pid) return process;
  const std::size_t next = fCurrent + 1;  // the first after none
  for (std::size_t i = next; i < fProcesses.size(); ++i) {
    Process& process = fProcesses[i];
    if (process.seen.pid != pid || process.isBegun) continue;
    settle();
    fCurrent = i;
    process.now = times.begun;
    process.isBegun = true;
    return &process;
  }
  return nullptr;
}

void EntryMirror::noteRunning(unsigned int pid, CallTimes const& times, int result,
                              bool isRunning) {
  Process* process = turnTo(pid, times);
  if (process == nullptr) return;
  InstanceView& seen = process->seen;
  seen.isRunning.reset();
  if (result == PResult::ok) seen.isRunning = isRunning;
  const bool isExcluded =
      fIsKnown && ((fSettings.countOnlyRunning && !isRunning) ||
                   (fSettings.countOnlyDiffParents && isInstance(seen.parentPid)));
  seen.counts = result == PResult::ok && !isExcluded;
}

/// Whether a process with that number was found by this look.
bool EntryMirror::isInstance(unsigned int pid) const { return processOf(pid) != nullptr; }

EntryMirror::Process const* EntryMirror::processOf(unsigned int pid) const {
  const auto process =
      std::ranges::find(fProcesses, pid, [](auto const& each) { return each.seen.pid; });
  return process != fProcesses.end() ? &*process : nullptr;
}

void EntryMirror::noteCpu(unsigned int pid, CallTimes const& times, int result,
                          unsigned int percent) {
  Process* process = turnTo(pid, times);
  if (process == nullptr) return;
  process->seen.cpuPercent.reset();
  if (result == PResult::ok) process->seen.cpuPercent = percent;
  addSample(*process, times);
  process->window.cpuSum += percent;  // a failed reading too, as the watchdog does
}

void EntryMirror::noteMemory(unsigned int pid, CallTimes const& times, int result,
                             unsigned long long kib) {
  Process* process = turnTo(pid, times);
  if (process == nullptr) return;
  process->seen.memoryKib.reset();
  if (result == PResult::ok) process->seen.memoryKib = kib;
  addSample(*process, times);
  process->window.memorySum += kib;
}

void EntryMirror::addSample(Process& process, CallTimes const& times) {
  if (!process.isSampled) ++process.window.samples;
  process.isSampled = true;
  // The window opens when the whole first sample is taken.
  if (process.window.samples == 1) process.window.start = times.now();
}

bool EntryMirror::isOver(Process const& process) const {
  return fIsKnown && process.isSampled && process.window.samples > 0 &&
         process.now - process.window.start >= windowLength(fSettings.period);
}

/// The first window that is over takes all windows of the entry with it.
void EntryMirror::settle() {
  if (Process const* process = current(); process != nullptr && isOver(*process)) {
    for (Process& each : fProcesses) each.window = {};
    fGone.clear();
  }
  fCurrent = kNone;
}

EntryView EntryMirror::view(std::chrono::milliseconds now) const {
  EntryView view{fSettings, fIsKnown, fLookedAt, fFindResult, {}, fTotals};
  view.instances.reserve(fProcesses.size());
  for (Process const& process : fProcesses) {
    view.instances.push_back(process.seen);
    Window const& window = process.window;
    if (window.samples == 0) continue;
    view.instances.back().window = {window.samples, now - window.start,
                                    window.cpuSum / window.samples,
                                    window.memorySum / window.samples};
  }
  return view;
}
