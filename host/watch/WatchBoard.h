#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "host/watch/WatchView.h"

/// Which programs are only watched, and not acted upon.
struct DryRun {
  bool all = false;
  std::set<std::string> names;
};

/// What the watchdog is doing, put together from what it asks of the host. Whoever
/// writes holds the lock for moments only, and so does whoever reads. Any thread may
/// call.
class WatchBoard {
 public:
  void setGlobals(GlobalSettings const& globals);
  void setDryRun(DryRun dryRun);

  /// Notes how an entry is set up; `dryRun` of the settings is ignored.
  void put(EntrySettings settings);

  /// Forgets an entry.
  void drop(std::string const& name);

  /// Names that are looked for but were never put, and names that were put but not
  /// looked for in the last whole pass: somebody else added or removed them.
  std::vector<std::string> doubtful() const;

  WatchView view() const;

 private:
  mutable std::mutex fMutex;
  GlobalSettings fGlobals;
  DryRun fDryRun;
  std::map<std::string, EntryView> fEntries;
};
