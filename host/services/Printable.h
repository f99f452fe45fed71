#pragma once

#include <string>
#include <string_view>

/// `text` as it may stand in one line of a log or on a terminal: well-formed
/// UTF-8 without control characters.
///
/// A tab stays. A newline becomes `\n`, a carriage return `\r`, any other ASCII
/// control character `\x1b`, one of the second control block `\u009b`, and a byte
/// that is not UTF-8 `\xff`.
std::string printable(std::string_view text);

/// Whether it is printable ASCII and tabs, which nearly every line is made of:
/// `printable` changes nothing then.
bool isPlain(std::string_view text);
