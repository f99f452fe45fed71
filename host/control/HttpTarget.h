#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a request is for.
struct HttpTarget {
  std::vector<std::string> path;             ///< between the slashes, decoded
  std::map<std::string, std::string> query;  ///< decoded; a plus sign stands for itself
};

/// Takes path and query apart.
/// @return nothing when a percent sign does not begin two hexadecimal digits, or an
///         argument is given twice.
std::optional<HttpTarget> parseTarget(std::string_view target);
