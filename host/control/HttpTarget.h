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

/// Takes path and query apart. What an absolute form has before the path is left out.
/// @return nothing, with the reason in `cause`, when a percent sign does not begin two
///         hexadecimal digits, or an argument is given twice.
std::optional<HttpTarget> parseTarget(std::string_view target, std::string& cause);
