#pragma once

#include <memory>
#include <optional>

#include "host/daemon/CheckCommand.h"
#include "host/daemon/ExitCode.h"
#include "host/daemon/HostSettings.h"
#include "host/daemon/HostSignals.h"
#include "host/daemon/Options.h"
#include "host/daemon/ServiceManager.h"
#include "host/services/LogOutput.h"

/// What the daemon runs with.
struct DaemonSetup {
  HostSettings settings;
  std::optional<TomlFile> mainFile;  ///< without the host's own table
  ServiceManager serviceManager;
  CheckedWatchdog watchdog{};
  Options options{};
  ConfigEntries host{};  ///< the host's own table of the main file
};

/// Runs the plug-ins until a signal asks for a stop, then ends them, the services
/// and the begun kills, in this order. Failures are logged.
ExitCode runDaemon(DaemonSetup setup, std::shared_ptr<LogOutput> const& output,
                   HostSignals const& signals);
