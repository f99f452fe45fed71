#include "host/veskctl/Health.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace ctl {

namespace {

constexpr std::array<Health, 5> kHealths = {{
    {"missing", Colour::bad, false},
    {"high", Colour::warning, false},
    {"unknown", Colour::warning, false},
    {"absent", Colour::faint, true},
    {"ok", Colour::good, true},
}};

/// Passes that a host may be late by before what it has not looked at counts.
constexpr double kPassesLate = 2;

/// Whether the host has made a pass, or was started, so lately that the next one is due.
bool isAtWork(Json const& status, WallTime now) {
  Json const& watchdog = field(status, "watchdog");
  const double patience = kPassesLate * 1000 * numberOf(watchdog, "sample_time").value_or(0);
  const auto last = timeOf(watchdog, "last_pass_at");
  if (!last) return numberOf(status, "uptime_ms").value_or(patience) < patience;
  return std::abs(static_cast<double>((now - *last).count())) < patience;
}

/// An entry whose processes could not be listed has an error as its result.
bool isLookedAt(Json const& entry) {
  return healthWord(entry) != "unknown" || integerOf(entry, "find_result") != 0;
}

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

std::vector<Json> judgedOf(Json const& status, WallTime now) {
  auto entries = listOf(status, "entries").get<std::vector<Json>>();
  if (isAtWork(status, now)) {
    std::erase_if(entries, [](Json const& entry) { return !isLookedAt(entry); });
  }
  return entries;
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
