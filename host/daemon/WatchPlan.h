#pragma once

#include <optional>

#include "host/check/Finding.h"
#include "host/daemon/HostSettings.h"
#include "host/daemon/WatchdogFacts.h"
#include "host/services/ConfigManager.h"

/// What the plug-ins are started with.
struct WatchPlan {
  ConfigSources sources;
  WatchdogFacts facts;
};

/// @param mainFile without the host's own table.
/// @param findings about the watchdog's configuration, reported already.
WatchPlan planOf(HostSettings const& settings, std::optional<TomlFile> mainFile,
                 Findings const& findings);
