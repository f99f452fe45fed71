#include "host/metrics/MetricText.h"

#include <fmt/format.h>
#include <prometheus/check_names.h>
#include <utf8.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace {

constexpr std::string_view kEscaped = "U__";

/// What the names of this host's own metrics begin with, and those of escaped names.
constexpr std::array kReserved = {std::string_view("veskd_"), std::string_view("process_"),
                                  kEscaped};

bool isTaken(std::string const& name) {
  return std::ranges::any_of(kReserved, [&](auto prefix) { return name.starts_with(prefix); });
}

bool standsForItself(char32_t point) {
  return (point >= U'a' && point <= U'z') || (point >= U'A' && point <= U'Z') ||
         (point >= U'0' && point <= U'9') || point == U':';
}

}  // namespace

std::string labelText(std::string_view text) {
  std::string label;
  auto at = text.begin();
  while (at != text.end()) {
    const auto bad = std::find(at, utf8::find_invalid(at, text.end()), '\0');
    label.append(at, bad);
    at = bad;
    if (at == text.end()) break;
    fmt::format_to(std::back_inserter(label), "\\x{:02x}", static_cast<unsigned char>(*at++));
  }
  return label;
}

std::string counterMetricName(std::string const& name) {
  if (prometheus::CheckMetricName(name) && !isTaken(name)) return name;
  std::string escaped(kEscaped);
  const std::string text = labelText(name);
  for (auto at = text.begin(); at != text.end();) {
    const char32_t point = utf8::unchecked::next(at);
    if (standsForItself(point)) {
      escaped += static_cast<char>(point);
    } else if (point == U'_') {
      escaped += "__";
    } else {
      fmt::format_to(std::back_inserter(escaped), "_{:x}_", static_cast<std::uint32_t>(point));
    }
  }
  return escaped;
}
