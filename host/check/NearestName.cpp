#include "host/check/NearestName.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

namespace {

constexpr std::size_t kFarthest = 2;

/// The least number of characters to change, add or leave out between the two.
std::size_t editDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string_view nearestName(std::string_view name, std::vector<std::string_view> const& known) {
  std::string_view nearest;
  std::size_t least = kFarthest + 1;
  for (const std::string_view candidate : known) {
    // As many characters are added or left out, at least.
    const std::size_t longer = std::max(name.size(), candidate.size());
    if (longer - std::min(name.size(), candidate.size()) >= least) continue;
    const std::size_t distance = editDistance(name, candidate);
    // What would replace the whole of a short name says nothing.
    if (distance >= least || distance >= candidate.size()) continue;
    nearest = candidate;
    least = distance;
  }
  return nearest;
}

std::string didYouMean(std::string_view name, std::vector<std::string_view> const& known,
                       std::string const& otherwise) {
  const std::string_view nearest = nearestName(name, known);
  return nearest.empty() ? otherwise : fmt::format(", did you mean `{}'?", nearest);
}
