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
};

/// `--help` or `--version`: what to print before a successful end.
struct Answer {
  std::string text;
};

std::variant<Options, Answer, Failure> parseOptions(int argc, const char* const* argv);
