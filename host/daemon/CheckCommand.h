#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "host/check/Finding.h"
#include "host/daemon/Failure.h"
#include "host/daemon/HostSettings.h"
#include "host/daemon/Options.h"

/// What is wrong with the watchdog's part of the configuration.
struct CheckedWatchdog {
  Findings findings;

  /// By path, what was read of the folder of files per plug-in. What is checked must be
  /// what takes effect, so nobody reads it again.
  std::map<std::string, TomlFile> files{};
};

/// Checks the main file, or with a folder of files per plug-in the watchdog's own.
/// @param mainFile without the host's own table.
/// @param configDir where the main file names that folder.
CheckedWatchdog checkWatchdog(TomlFile const& mainFile, HostSettings const& settings,
                              FilePosition configDir);

/// A configuration file, and what is wrong with it.
struct CheckedFile {
  TomlFile file;       ///< without the host's own table
  ConfigEntries host;  ///< that table
  HostSettings settings;
  CheckedWatchdog watchdog;  ///< with all other findings, too
};

/// Reads a configuration file and checks it whole.
/// @param morePlugins are run beside those of the file.
std::variant<CheckedFile, TomlFailure> readChecked(std::string const& path,
                                                   std::vector<std::string> const& morePlugins);

/// A file that is no TOML, as a finding.
Finding syntaxFinding(std::string const& path, TomlFailure const& failure);

/// `--check`: what is wrong with the configuration file, as text or JSON.
/// @return a failure when the file cannot be read.
std::variant<Answer, Failure> checkFile(Options const& options);
