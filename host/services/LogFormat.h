#pragma once

#include <spdlog/formatter.h>

#include <memory>
#include <string>
#include <string_view>

/// `text` as it may stand in one line of a log or on a terminal: well-formed
/// UTF-8 without control characters.
///
/// A tab stays. A newline becomes `\n`, a carriage return `\r`, any other ASCII
/// control character `\x1b`, one of the second control block `\u009b`, and a byte
/// that is not UTF-8 `\xff`.
std::string printable(std::string_view text);

/// What a line of the log begins with: the time with milliseconds and zone offset,
/// or what the journal takes for the line's priority.
enum class LogLayout { timed, journal };

/// The priority of a level, in the form that begins a line for the journal: "<3>"
/// for an error.
std::string_view journalPriority(spdlog::level::level_enum level);

/// The line of every log of this host: its beginning, level, log name, message, the
/// two last ones made printable.
std::unique_ptr<spdlog::formatter> makeLogFormat(LogLayout layout);
