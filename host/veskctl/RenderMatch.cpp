#include <fmt/format.h>

#include <vector>

#include "host/veskctl/Render.h"
#include "host/veskctl/Table.h"

namespace ctl {

namespace {

std::string processTable(Json const& processes, const char* lastTitle, const char* lastKey,
                         View const& view) {
  std::vector<Row> rows;
  for (Json const& process : processes) {
    rows.push_back({{countOf(process, "pid")},
                    {countOf(process, "parent_pid")},
                    {textOf(process, "state", "-")},
                    {textOf(process, "comm", "-")},
                    {textOf(process, lastKey)}});
  }
  return renderTable({{"PID", true},
                      {"PARENT", true, 0, 2},
                      {"STATE", false, 0, 1},
                      {"NAME", false, 8},
                      {lastTitle, false, 12}},
                     std::move(rows), view);
}

}  // namespace

std::string renderMatch(Json const& match, View const& view) {
  Json const& matches = listOf(match, "matches");
  Json const& misses = listOf(match, "near_misses");
  std::string text = fmt::format(
      "`{}' matches {}\n", shown(textOf(match, "name")),
      matches.empty() ? "nothing right now" : counted(matches.size(), "process", "processes"));
  if (!matches.empty()) text += '\n' + processTable(matches, "COMMAND", "command", view);
  if (misses.empty()) return text;
  const long long left = integerOf(match, "near_misses_left_out");
  text += fmt::format("\nNot meant by it, though near{}:\n\n",
                      left > 0 ? fmt::format(" ({} more are left out)", left) : "");
  return text + processTable(misses, "WHY NOT", "why", view);
}

}  // namespace ctl
