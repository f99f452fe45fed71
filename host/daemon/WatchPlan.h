#pragma once

#include <optional>

#include "host/daemon/CheckCommand.h"
#include "host/daemon/HostSettings.h"
#include "host/entries/WatchdogFacts.h"
#include "host/services/ConfigManager.h"

/// What the plug-ins are started with.
struct WatchPlan {
  ConfigSources sources;
  WatchdogFacts facts;
};

/// @param mainFile without the host's own table.
/// @param watchdog whose findings are reported already.
WatchPlan planOf(HostSettings const& settings, std::optional<TomlFile> mainFile,
                 CheckedWatchdog const& watchdog);
