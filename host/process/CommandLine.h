#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Splits a command line into words as a shell splits plain words and quotes.
///
/// Blanks separate words. Between single quotes everything stands for itself;
/// between double quotes a backslash takes the meaning from `"`, `\`, `$`, a
/// backquote and a newline; outside quotes it does so for any character. Nothing
/// is expanded: `$`, `*`, `~`, `;`, `|` and `#` are ordinary characters.
///
/// @param words filled with the words; `""` makes an empty one.
/// @return false when a quote is not closed or nothing follows a backslash.
bool splitCommandLine(std::string_view text, std::vector<std::string>& words);
