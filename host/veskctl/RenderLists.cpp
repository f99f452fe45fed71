#include <fmt/format.h>

#include <vector>

#include "host/veskctl/Render.h"
#include "host/veskctl/Table.h"

namespace ctl {

namespace {

/// file:line:column: severity: what
std::string renderFinding(Json const& finding, View const& view) {
  const std::string severity = textOf(finding, "severity", "-");
  const Colour colour = severity == "error" ? Colour::bad : Colour::warning;
  std::string place = textOf(finding, "file", "-");
  for (const char* key : {"line", "column"}) {
    const long long number = integerOf(finding, key);
    if (number > 0) place += fmt::format(":{}", number);
  }
  return fmt::format("{}: {}: {}\n", shown(place), painted(shown(severity), colour, view),
                     shown(textOf(finding, "what")));
}

}  // namespace

std::string renderCounters(Json const& counters, View const& view) {
  std::vector<Row> rows;
  for (auto const& [name, value] : field(counters, "counters").items()) {
    rows.push_back({{name}, {std::to_string(value.get<long long>())}});
  }
  if (rows.empty()) return "no counter yet\n";
  return renderTable({{"COUNTER", false, 8}, {"VALUE", true}}, std::move(rows), view);
}

std::string renderReload(Json const& reload, View const& view) {
  std::string text = "the configuration is read again\n";
  for (Json const& finding : listOf(reload, "findings")) text += renderFinding(finding, view);
  for (Json const& key : listOf(reload, "needs_restart")) {
    text += fmt::format("{} counts only from the next start of veskd on\n",
                        painted(shown(key.get<std::string>()), Colour::warning, view));
  }
  return text;
}

}  // namespace ctl
