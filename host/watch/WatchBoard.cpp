#include "host/watch/WatchBoard.h"

#include <algorithm>
#include <utility>

namespace {

std::chrono::milliseconds inMs(std::chrono::microseconds time) {
  return std::chrono::floor<std::chrono::milliseconds>(time);
}

}  // namespace

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
  entry.mirror.put(std::move(settings));
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
  closeIdlePass();
  fThreads.clear();
  fTurn = nullptr;
  fLastWholePass = 0;  // who was left out of a pass that was cut short is not missed
  for (auto& [name, entry] : fEntries) entry.mirror.beginAnew();
}

std::vector<std::string> WatchBoard::doubtful() const {
  const std::lock_guard lock(fMutex);
  closeIdlePass();
  std::vector<std::string> names;
  for (auto const& [name, entry] : fEntries) {
    const bool isMissed = fLastWholePass > entry.putIn && entry.lookedForIn < fLastWholePass;
    if (!entry.mirror.isKnown() || isMissed) names.push_back(name);
  }
  return names;
}

WatchView WatchBoard::view() const {
  const std::lock_guard lock(fMutex);
  closeIdlePass();
  const auto now = fClock->monotonic();
  WatchView view{fDryRun.all, fGlobals, fPass, {}};
  if (ThreadPass const* pass = fThreads.leader(); pass != nullptr && pass->isInCall) {
    view.pass.isUnderWay = true;
    view.pass.underWay = now - pass->begun;
  }
  view.entries.reserve(fEntries.size());
  for (auto const& [name, entry] : fEntries) {
    view.entries.push_back(entry.mirror.view(inMs(now)));
    view.entries.back().settings.dryRun = fDryRun.all || fDryRun.names.contains(name);
  }
  return view;
}

void WatchBoard::beginPass(ThreadPass& pass, std::chrono::microseconds now) {
  if (pass.isOpen) closePass(pass, now);
  pass.names.clear();
  pass.begun = now;
  pass.isOpen = true;
  if (!isWatchdog(pass)) return;
  ++fPass.count;
  fPass.begunAt = fClock->wall();
}

void WatchBoard::closePass(ThreadPass& pass, std::chrono::microseconds now) const {
  constexpr unsigned int kSamples = 5;
  constexpr std::chrono::seconds kLeast{10};
  pass.isOpen = false;
  pass.knownNames = static_cast<std::size_t>(std::ranges::count_if(fEntries, [&](auto const& each) {
    return each.second.mirror.isKnown() && pass.names.contains(each.first);
  }));
  if (isWatchdog(pass)) closeWatchdogPass(pass);
  const std::chrono::seconds samples{static_cast<long long>(kSamples) * fGlobals.sampleTime};
  fThreads.elect(pass, now, std::max(kLeast, samples));
}

void WatchBoard::closeWatchdogPass(ThreadPass const& pass) const {
  fPass.last = pass.ended - pass.begun;
  fPass.longest = std::max(fPass.longest, fPass.last);
  fLastWholePass = fPass.count;
  fTurn = nullptr;
  for (auto& [name, entry] : fEntries) entry.mirror.settle();
  // What nobody put and nobody looks for any more was never an entry.
  std::erase_if(fEntries, [this](auto const& each) {
    return !each.second.mirror.isKnown() && each.second.lookedForIn < fLastWholePass;
  });
}

/// A pass that is over shows only by the pause after it.
void WatchBoard::closeIdlePass() const {
  ThreadPass* pass = fThreads.leader();
  if (pass == nullptr || !pass->isOpen || pass->isInCall) return;
  const auto now = fClock->monotonic();
  if (now - pass->ended > ThreadPass::kPause) closePass(*pass, now);
}
