#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/services/TomlFile.h"
#include "host/watch/WatchBoard.h"

/// What the file that serves the watchdog says, as far as the host wants to know.
struct WatchdogFacts {
  GlobalSettings globals;

  /// As the watchdog would load them: up to the first gap, the first of those with one
  /// name, and what it falls back to for what it does not read.
  std::vector<EntrySettings> entries;
  std::vector<std::string> names;  ///< of these, in the order of the file
  DryRun dryRun;                   ///< of programs; that of the host is not in this file

  /// The keys that the host alone asks for.
  std::set<std::string> hostKeys;
};

/// @param file without the host's own table.
WatchdogFacts readWatchdogFacts(TomlFile const& file);
