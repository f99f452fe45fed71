#pragma once

#include <memory>
#include <variant>

#include "host/daemon/Daemon.h"
#include "host/daemon/Failure.h"
#include "host/daemon/Options.h"

/// Reads the configuration file and brings it together with the command line.
std::variant<DaemonSetup, Failure> readSetup(Options const& options);

/// Opens the log, and makes sure of the file that started programs write to.
std::variant<std::shared_ptr<LogOutput>, Failure> openOutputs(HostSettings const& settings);
