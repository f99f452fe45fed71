#pragma once

#include <spdlog/common.h>

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/daemon/Failure.h"

/// What the command line says.
struct Options {
  std::string configFile;  ///< empty when none is given
  std::vector<std::string> plugins;
  std::optional<spdlog::level::level_enum> logLevel;
  bool dryRun = false;  ///< act on nothing
  bool check = false;   ///< check the configuration file and run nothing
  bool json = false;    ///< print what the check finds as JSON
};

/// `--help`, `--version` or `--check`: what to print before the end.
struct Answer {
  std::string text;
  ExitCode code = ExitCode::stopped;
};

std::variant<Options, Answer, Failure> parseOptions(int argc, const char* const* argv);
