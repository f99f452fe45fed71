#include "host/veskctl/Health.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace ctl {

namespace {

constexpr std::array<Health, 5> kHealths = {{
    {"missing", Colour::bad, false},
    {"high", Colour::warning, false},
    {"unknown", Colour::warning, false},
    {"absent", Colour::faint, true},
    {"ok", Colour::good, true},
}};

}  // namespace

Health const& healthOf(Json const& entry) {
  const std::string word = healthWord(entry);
  const auto* const found = std::find_if(kHealths.begin(), kHealths.end(),
                                         [&](Health const& health) { return word == health.word; });
  return found != kHealths.end() ? *found : kHealths.front();
}

std::size_t rankOf(Health const& health) {
  return static_cast<std::size_t>(&health - kHealths.data());
}

std::string healthWord(Json const& entry) { return textOf(entry, "health", "unknown"); }

std::string summarise(std::vector<Json> const& entries, View const& view) {
  std::string text;
  for (Health const& health : kHealths) {
    const auto number = std::count_if(entries.begin(), entries.end(), [&](Json const& entry) {
      return &healthOf(entry) == &health;
    });
    if (number == 0) continue;
    if (!text.empty()) text += ", ";
    text += painted(fmt::format("{} {}", number, health.word), health.colour, view);
  }
  return text;
}

std::string listOfNotOk(std::vector<Json> const& entries) {
  std::string text;
  for (Json const& entry : entries) {
    if (healthOf(entry).isOk) continue;
    if (!text.empty()) text += ", ";
    text += fmt::format("{} ({})", textOf(entry, "name"), healthWord(entry));
  }
  return text;
}

}  // namespace ctl
