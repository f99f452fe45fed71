#pragma once

#include <memory>
#include <optional>

#include "host/check/Finding.h"
#include "host/daemon/ExitCode.h"
#include "host/daemon/HostSettings.h"
#include "host/daemon/ServiceManager.h"
#include "host/daemon/StopSignals.h"
#include "host/services/LogOutput.h"

/// What the daemon runs with.
struct DaemonSetup {
  HostSettings settings;
  std::optional<TomlFile> mainFile;  ///< without the host's own table
  ServiceManager serviceManager;
  Findings findings{};  ///< what is wrong with the watchdog's configuration
};

/// Runs the plug-ins until a stop signal arrives, then ends them, the services
/// and the begun kills, in this order. Failures are logged.
ExitCode runDaemon(DaemonSetup setup, std::shared_ptr<LogOutput> const& output,
                   StopSignals& signals);
