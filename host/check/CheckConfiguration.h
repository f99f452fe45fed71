#pragma once

#include "host/check/Finding.h"
#include "host/services/TomlFile.h"

/// What a file gets wrong about the watchdog, and what the watchdog will do then,
/// in the order of the file. Reads the file system and PATH, and changes nothing.
/// @param file without the host's own table.
/// @param isWatched whether the watchdog's table is missed where it is not there.
Findings checkConfiguration(TomlFile const& file, bool isWatched);

/// A finding for each top-level table or key of a file that nobody reads.
Findings findUnreadTables(TomlFile const& file, std::string const& reason);
