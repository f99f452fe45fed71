#pragma once

#include <variant>

#include "host/check/Finding.h"
#include "host/daemon/Failure.h"
#include "host/daemon/HostSettings.h"
#include "host/daemon/Options.h"

/// What is wrong with the watchdog's part of the configuration: in the main file, or
/// with a folder of files per plug-in in the watchdog's own.
/// @param mainFile without the host's own table.
/// @param configDir where the main file names that folder.
Findings checkWatchdog(TomlFile const& mainFile, HostSettings const& settings,
                       FilePosition configDir);

/// `--check`: what is wrong with the configuration file, as text or JSON.
/// @return a failure when the file cannot be read.
std::variant<Answer, Failure> checkFile(Options const& options);
