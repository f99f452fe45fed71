#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ctl {

/// Asks a host for the names of its entries; none where it cannot be reached.
/// @param socket as the words name it, else empty.
using NamesOf = std::function<std::vector<std::string>(std::string const& socket)>;

/// What the last of the words may become: commands, options, values and names.
/// @param words after the program's own name; the last one may be empty.
std::vector<std::string> complete(std::vector<std::string> words, NamesOf const& namesOf);

}  // namespace ctl
