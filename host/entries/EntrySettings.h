#pragma once

#include "host/watch/WatchView.h"
#include "watchdog/IProcessWatchdogEntry.h"

/// How an entry of the watchdog is set up; without what only the host knows of it,
/// its dry run and its origin. May throw `std::bad_alloc`.
EntrySettings readSettings(IProcessWatchdogInfo const& entry);

/// Sets a new entry up.
/// @param settings within the ranges of the configuration file.
void applySettings(EntrySettings const& settings, IProcessWatchdogEntry& entry);
