#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The known name that `name` was probably meant to be: the nearest one that no
/// more than two single characters are changed, added or left out to reach.
/// @return empty when none is near.
std::string_view nearestName(std::string_view name, std::vector<std::string_view> const& known);

/// That name as the rest of a sentence about `name`, or `otherwise`.
std::string didYouMean(std::string_view name, std::vector<std::string_view> const& known,
                       std::string const& otherwise);
