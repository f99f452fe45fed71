#include "host/watch/WatchBoard.h"

#include <utility>

WatchBoard::WatchBoard(std::shared_ptr<RecordJournal> journal,
                       std::shared_ptr<IWatchClock const> clock)
    : fJournal(std::move(journal)), fClock(std::move(clock)) {}

void WatchBoard::setGlobals(GlobalSettings const& globals) {
  const std::lock_guard lock(fMutex);
  fGlobals = globals;
}

void WatchBoard::setDryRun(DryRun dryRun) {
  const std::lock_guard lock(fMutex);
  fDryRun = std::move(dryRun);
}

WatchBoard::Watched& WatchBoard::entryOf(std::string const& name) {
  return fEntries.try_emplace(name, name, fGlobals).first->second;
}

void WatchBoard::put(EntrySettings settings) {
  const std::lock_guard lock(fMutex);
  Watched& entry = entryOf(settings.name);
  if (!entry.mirror.isKnown()) entry.knownSince = fPass.count;
  entry.mirror.put(std::move(settings));
  entry.isContradicted = false;
  entry.putIn = fPass.count;
}

void WatchBoard::drop(std::string const& name) {
  const std::lock_guard lock(fMutex);
  const auto found = fEntries.find(name);
  if (found == fEntries.end()) return;
  if (fTurn == &found->second) fTurn = nullptr;
  fEntries.erase(found);
}

void WatchBoard::beginAnew() {
  const std::lock_guard lock(fMutex);
  fPass = passAt(fClock->monotonic());
  fPass.isUnderWay = false;
  fPass.underWay = {};
  fThreads.clear();
  fTurn = nullptr;
  fLastWholePass = 0;  // who was left out of a pass that was cut short is not missed
  for (auto& [name, entry] : fEntries) entry.mirror.beginAnew();
}

std::vector<std::string> WatchBoard::doubtful() const {
  const std::lock_guard lock(fMutex);
  const auto last = lastWholePass(fClock->monotonic());
  std::vector<std::string> names;
  for (auto const& [name, entry] : fEntries) {
    if (entry.isForgotten(last)) continue;
    const bool isMissed = last > entry.putIn && entry.lookedForIn < last;
    if (!entry.mirror.isKnown() || entry.isContradicted || isMissed) names.push_back(name);
  }
  return names;
}

WatchView WatchBoard::view() const {
  const std::lock_guard lock(fMutex);
  const auto now = fClock->monotonic();
  const auto last = lastWholePass(now);
  WatchView view{fDryRun.all, fGlobals, passAt(now), {}};
  view.entries.reserve(fEntries.size());
  for (auto const& [name, entry] : fEntries) {
    if (entry.isForgotten(last)) continue;
    view.entries.push_back(viewOf(entry, now));
    view.entries.back().settings.dryRun = fDryRun.all || fDryRun.names.contains(name);
  }
  return view;
}

EntryView WatchBoard::viewOf(Watched const& entry, std::chrono::microseconds now) const {
  const auto nowInMs = std::chrono::floor<std::chrono::milliseconds>(now);
  if (&entry != fTurn || !isPassOver(now)) return entry.mirror.view(nowInMs);
  // The pass may still go on, so the entry's turn itself is left as it is.
  EntryMirror settled = entry.mirror;
  settled.settle();
  return settled.view(nowInMs);
}
