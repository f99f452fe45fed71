#pragma once

#include <spdlog/common.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

/// The levels of this host's log, from everything to nothing.
struct LogLevelName {
  const char* name;
  spdlog::level::level_enum level;
};

inline constexpr std::array<LogLevelName, 5> kLogLevels = {{
    {"debug", spdlog::level::debug},
    {"info", spdlog::level::info},
    {"warning", spdlog::level::warn},
    {"error", spdlog::level::err},
    {"off", spdlog::level::off},
}};

/// The level of an exact name, or nothing.
inline std::optional<spdlog::level::level_enum> logLevelOf(std::string_view name) {
  const auto* found = std::find_if(kLogLevels.begin(), kLogLevels.end(),
                                   [name](LogLevelName const& row) { return name == row.name; });
  if (found == kLogLevels.end()) return std::nullopt;
  return found->level;
}
