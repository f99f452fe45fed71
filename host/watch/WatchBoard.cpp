#include "host/watch/WatchBoard.h"

#include <utility>

void WatchBoard::setGlobals(GlobalSettings const& globals) {
  const std::lock_guard lock(fMutex);
  fGlobals = globals;
}

void WatchBoard::setDryRun(DryRun dryRun) {
  const std::lock_guard lock(fMutex);
  fDryRun = std::move(dryRun);
}

void WatchBoard::put(EntrySettings settings) {
  const std::lock_guard lock(fMutex);
  EntryView& entry = fEntries[settings.name];
  entry.settings = std::move(settings);
  entry.isKnown = true;
}

void WatchBoard::drop(std::string const& name) {
  const std::lock_guard lock(fMutex);
  fEntries.erase(name);
}

std::vector<std::string> WatchBoard::doubtful() const { return {}; }

WatchView WatchBoard::view() const {
  const std::lock_guard lock(fMutex);
  WatchView view{fDryRun.all, fGlobals, {}, {}};
  for (auto const& [name, entry] : fEntries) {
    view.entries.push_back(entry);
    view.entries.back().settings.dryRun = fDryRun.all || fDryRun.names.contains(name);
  }
  return view;
}
