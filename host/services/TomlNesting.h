#pragma once

#include <optional>
#include <string_view>

#include "host/services/ConfigValue.h"

/// How deep a file may nest: brackets within each other, and dots in one key.
inline constexpr unsigned int kDeepestToml = 32;

/// The first place where a text in TOML nests more deeply. The parser works by recursion,
/// over the parts of a key too, and would run out of stack. Where the text is no TOML the
/// place means something only up to the first mistake.
std::optional<FilePosition> tooDeepPlace(std::string_view text);
