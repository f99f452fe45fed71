#pragma once

#include <string>
#include <vector>

#include "host/services/TomlFile.h"
#include "host/watch/WatchBoard.h"

/// What a file says to the watchdog, as far as the host needs it too.
struct WatchdogFacts {
  GlobalSettings globals;
  std::vector<std::string> names;  ///< of the programs that are watched, in their order
  DryRun dryRun;                   ///< by the programs' own keys
};

/// Reads them as the watchdog does: what it cannot read is absent.
/// @param file without the host's own table.
WatchdogFacts readWatchdogFacts(TomlFile const& file);
