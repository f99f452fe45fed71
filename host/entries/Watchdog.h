#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/watch/WatchView.h"
#include "watchdog/IProcessWatchdog.h"

/// The watchdog that a plug-in offers, held for as long as a copy of the result lives;
/// null when there is none. For the thread of the plug-ins: one that is held
/// cannot end.
std::shared_ptr<IProcessWatchdog> obtainWatchdog();

/// Has one more program watched.
/// @return 0, or the code of the step that failed.
int addEntry(IProcessWatchdog& watchdog, EntrySettings const& settings);

/// How an entry is set up; nothing when there is none of that name.
std::optional<EntrySettings> settingsOf(IProcessWatchdog const& watchdog, std::string const& name);
