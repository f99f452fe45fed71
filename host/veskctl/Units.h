#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "host/veskctl/View.h"

namespace ctl {

/// "512 KiB", "40.0 MiB", "1.5 GiB".
std::string humanMemory(double kib);

/// "1.2 ms", "2.0 s", "3 min 5 s", "2 h 3 min", "5 d 2 h".
std::string humanDuration(double milliseconds);

/// "3 entries", "1 entry".
/// @param many empty for `one` and an s.
std::string counted(unsigned long long number, std::string const& one, std::string many = "");

/// A time of the API.
std::optional<WallTime> parseTime(std::string const& text);

/// "1.2 s ago"; nothing is younger than now.
std::string ago(WallTime time, WallTime now);

/// As the log shows times: "2026-11-21 14:42:49.123", in the zone of the user.
std::string localTime(WallTime time);

}  // namespace ctl
