#pragma once

#include <spdlog/formatter.h>

#include <memory>
#include <string_view>

#include "host/services/Printable.h"

/// What a line of the log begins with: the time with milliseconds and zone offset,
/// or what the journal takes for the line's priority.
enum class LogLayout { timed, journal };

/// The priority of a level, in the form that begins a line for the journal: "<3>"
/// for an error.
std::string_view journalPriority(spdlog::level::level_enum level);

/// The line of every log of this host: its beginning, level, log name, message, the
/// two last ones made printable.
std::unique_ptr<spdlog::formatter> makeLogFormat(LogLayout layout);
