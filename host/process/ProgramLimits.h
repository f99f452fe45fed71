#pragma once

#include <optional>
#include <string_view>

#include "host/process/ProgramSettings.h"

/// Reads "name=value", which sets the soft and the hard limit, or
/// "name=soft:hard". A name is that of an `RLIMIT_` constant in small letters,
/// without the prefix; a value is a decimal integer or "unlimited".
/// @return nothing when the text is not that, or soft is above hard.
std::optional<ProgramLimit> parseProgramLimit(std::string_view text);

/// The name of an `RLIMIT_` constant as `parseProgramLimit` takes it.
const char* limitName(int resource);
