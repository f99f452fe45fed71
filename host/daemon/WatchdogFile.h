#pragma once

#include <string>

#include "host/daemon/HostSettings.h"

/// Whether the watchdog is among the plug-ins.
bool runsWatchdog(HostSettings const& settings);

/// The watchdog's own file in the folder of files per plug-in.
std::string watchdogFilePath(HostSettings const& settings);
