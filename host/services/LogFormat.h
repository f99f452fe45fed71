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

/// The line of every log of this host: time with milliseconds and zone offset,
/// level, log name, message, the two last ones made printable.
std::unique_ptr<spdlog::formatter> makeLogFormat();
