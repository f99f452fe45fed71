#pragma once

#include <chrono>
#include <string>
#include <variant>
#include <vector>

#include "host/control/ControlSettings.h"
#include "host/daemon/Failure.h"
#include "host/process/ProgramSettings.h"
#include "host/services/LogOutput.h"
#include "host/services/RestartBrake.h"
#include "host/services/TomlFile.h"

/// The host's own table of the configuration file.
inline constexpr const char* kHostTable = "host";

/// The environment of started programs unless another is configured.
inline constexpr const char* kProgramPath =
    "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

/// The host's own settings. Paths in the file are relative to the file's folder;
/// here they are absolute, or empty where nothing is set.
struct HostSettings {
  std::vector<std::string> plugins;
  LogSettings log;
  std::string configDir;                      ///< one file per plug-in; empty: the main file
  std::chrono::milliseconds killGrace{3000};  ///< between SIGTERM and SIGKILL
  std::string programOutput;                  ///< what started programs write; empty: nowhere
  bool processEvents = true;                  ///< let the kernel tell what happens to processes
  std::vector<std::string> programEnvironment{kProgramPath};  ///< each as "NAME=value"
  std::vector<ProgramLimit> programLimits;                    ///< at most one for each resource
  std::string restartCommand;  ///< restarts the operating system; empty: the kernel does
  RestartLimits restartLimits;
  bool dryRun = false;      ///< act on nothing, and say what would be done
  std::string stateDir;     ///< where restarts are remembered; empty: nowhere
  ControlSettings control;  ///< where operators reach the host
};

/// What is wrong with the host's table, and where.
struct SettingsComplaint {
  FilePosition position;
  std::string text;

  auto operator<=>(SettingsComplaint const&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// The settings, as far as nothing is wrong with them, and what is.
struct HostReading {
  HostSettings settings;
  std::vector<SettingsComplaint> complaints;  ///< in the order of the file
};

/// Reads the settings out of the entries of the host's table. Nothing is guessed:
/// an unknown key, another type or a value out of range is a complaint.
/// @param path of the file that the entries are from.
HostReading judgeHostSettings(std::string const& path, ConfigEntries const& entries);

/// The same for whoever takes all or nothing: each complaint is a line of the failure.
std::variant<HostSettings, Failure> readHostSettings(std::string const& path,
                                                     ConfigEntries const& entries);
