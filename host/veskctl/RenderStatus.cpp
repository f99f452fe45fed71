#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "host/veskctl/Health.h"
#include "host/veskctl/Render.h"
#include "host/veskctl/Table.h"

namespace ctl {

namespace {

constexpr int kNobodyFound = -504;
constexpr double kLongPass = 1000;  // ms from which one that is under way is told

std::string hostLine(Json const& status) {
  const std::string file = textOf(status, "config_file");
  return fmt::format(
      "veskd {}, pid {}, up {}{}", textOf(status, "version", "?"), countOf(status, "pid"),
      humanDuration(numberOf(status, "uptime_ms").value_or(0)), file.empty() ? "" : ", " + file);
}

std::string passLine(Json const& watchdog, View const& view) {
  const auto last = timeOf(watchdog, "last_pass_at");
  if (!last) return "no pass yet";
  return fmt::format("pass {}, {}, took {} (longest {}), every {} s", countOf(watchdog, "passes"),
                     ago(*last, view.now),
                     humanDuration(numberOf(watchdog, "last_pass_ms").value_or(0)),
                     humanDuration(numberOf(watchdog, "longest_pass_ms").value_or(0)),
                     countOf(watchdog, "sample_time"));
}

std::string checksOff(Json const& watchdog) {
  std::string text;
  for (const char* key : {"cpu_enabled", "mem_enabled", "inst_enabled"}) {
    if (field(watchdog, key) == false) text += (text.empty() ? "" : ", ") + std::string(key);
  }
  return text;
}

std::string restartLine(Json const& restarts) {
  Json const& past = listOf(restarts, "past");
  std::string text;
  if (!past.empty()) {
    const auto time = timeOf(past.back(), "time");
    text = fmt::format("{} of the system, the last {}: {}", counted(past.size(), "restart"),
                       time ? localTime(*time) : "-", textOf(past.back(), "cause"));
  }
  Json const& refusal = field(restarts, "last_refusal");
  if (!refusal.is_null()) {
    const auto time = timeOf(refusal, "time");
    text += fmt::format("{}restart of the system refused {}: {}", text.empty() ? "" : "; ",
                        time ? localTime(*time) : "-", textOf(refusal, "reason"));
  }
  return text;
}

std::string countersLine(Json const& counters) {
  std::string text;
  for (auto const& [name, value] : counters.items()) {
    if (value == 0) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", name, value.get<long long>());
  }
  return text;
}

/// One line of the head; nothing without a text.
std::string headLine(std::string const& text, Colour colour, View const& view) {
  if (text.empty()) return "";
  const std::string line = shown(text);
  return painted(view.width > 0 ? cut(line, view.width, view) : line, colour, view) + '\n';
}

std::string head(Json const& status, View const& view) {
  Json const& watchdog = field(status, "watchdog");
  std::string text = headLine(hostLine(status), Colour::strong, view);
  if (isTrue(status, "dry_run")) {
    text += headLine("dry run: nothing is ended, started or restarted", Colour::warning, view);
  }
  text += headLine(passLine(watchdog, view), Colour::none, view);
  const double underWay = numberOf(watchdog, "under_way_ms").value_or(0);
  if (isTrue(watchdog, "is_under_way") && underWay >= kLongPass) {
    text += headLine(fmt::format("a pass is under way for {} by now", humanDuration(underWay)),
                     Colour::warning, view);
  }
  const std::string off = checksOff(watchdog);
  if (!off.empty()) text += headLine("switched off: " + off, Colour::warning, view);
  text += headLine(restartLine(field(status, "restarts")), Colour::warning, view);
  return text + headLine(countersLine(field(status, "counters")), Colour::none, view);
}

/// What counts, and of how many if that is not all; all of them where nobody counts.
std::string instancesOf(Json const& entry) {
  std::string all = countOf(entry, "instances");
  if (!numberOf(entry, "counted")) return all;
  const std::string counts = countOf(entry, "counted");
  return counts == all ? counts : counts + '/' + all;
}

std::string noteOf(Json const& entry) {
  std::string note = isTrue(entry, "dry_run") ? "dry run" : "";
  const auto result = static_cast<int>(integerOf(entry, "find_result"));
  if (result < 0 && result != kNobodyFound) {
    const std::string why = result > kNobodyFound ? std::strerror(-result) : "";
    note += fmt::format("{}cannot look: {} ({})", note.empty() ? "" : ", ", why, result);
  }
  return note;
}

Row rowOf(Json const& entry) {
  return {{textOf(entry, "name")},
          {healthWord(entry), healthOf(entry).colour},
          {instancesOf(entry)},
          {percentOf(entry, "cpu_percent")},
          {memoryOf(entry, "memory_kib")},
          {textOf(entry, "action", "-")},
          {noteOf(entry), Colour::warning}};
}

/// Of what is known; nothing where that is nothing.
std::optional<double> sumOf(std::vector<Json> const& entries, const char* key) {
  std::optional<double> sum;
  for (Json const& entry : entries) {
    if (const auto number = numberOf(entry, key)) sum = sum.value_or(0) + *number;
  }
  return sum;
}

double instancesIn(std::vector<Json> const& entries) {
  double sum = 0;
  for (Json const& entry : entries) {
    const auto counted = numberOf(entry, "counted");
    sum += counted ? *counted : numberOf(entry, "instances").value_or(0);
  }
  return sum;
}

Row sums(std::vector<Json> const& entries) {
  const auto cpu = sumOf(entries, "cpu_percent");
  const auto memory = sumOf(entries, "memory_kib");
  return {{counted(entries.size(), "program")},
          {},
          {fmt::format("{:.0f}", instancesIn(entries))},
          {cpu ? fmt::format("{:.0f}%", *cpu) : "-"},
          {memory ? humanMemory(*memory) : "-"},
          {},
          {}};
}

/// The host's order, which is by name, among equals.
std::vector<Json> sorted(Json const& entries, SortKey sort) {
  std::vector<Json> result(entries.begin(), entries.end());
  const auto key = [&](Json const& entry) {
    if (sort == SortKey::health) return static_cast<double>(rankOf(healthOf(entry)));
    return -numberOf(entry, sort == SortKey::cpu ? "cpu_percent" : "memory_kib").value_or(-1);
  };
  if (sort == SortKey::name) return result;
  std::stable_sort(result.begin(), result.end(),
                   [&](Json const& a, Json const& b) { return key(a) < key(b); });
  return result;
}

/// @param atMost rows of programs.
std::string table(std::vector<Json> const& entries, std::size_t atMost, View const& view) {
  std::vector<Column> columns = {{"NAME", false, 10},  {"HEALTH"},          {"INST", true, 0, 1},
                                 {"CPU", true, 0, 3},  {"MEM", true, 0, 2}, {"ACTION", false, 0, 4},
                                 {"NOTE", false, 4, 5}};
  std::vector<Row> rows;
  rows.reserve(entries.size() + 2);  // and the rule and the sums
  for (Json const& entry : entries) rows.push_back(rowOf(entry));
  const bool hasNotes = std::any_of(rows.begin(), rows.end(),
                                    [](Row const& row) { return !row.back().text.empty(); });
  rows.resize(std::min(atMost, rows.size()));
  rows.emplace_back();
  rows.push_back(sums(entries));
  if (!hasNotes) {
    columns.pop_back();
    for (Row& row : rows) {
      if (!row.empty()) row.pop_back();
    }
  }
  return renderTable(std::move(columns), std::move(rows), view);
}

}  // namespace

std::string renderStatus(Json const& status, SortKey sort, View const& view) {
  const std::vector<Json> entries = sorted(listOf(status, "entries"), sort);
  const std::string top = head(status, view);
  if (entries.empty()) return top + "no program is watched\n";
  // Beside the head: an empty line, titles, rule, sums, the summary, and the cursor's.
  const auto others = static_cast<std::size_t>(std::count(top.begin(), top.end(), '\n')) + 6;
  std::size_t room = entries.size();
  if (view.height > 0) room = view.height > others ? view.height - others : 1;
  std::string text = top + '\n' + table(entries, room, view);
  if (room < entries.size()) text += fmt::format("{} not shown: ", entries.size() - room);
  return text + summarise(entries, view) + '\n';
}

}  // namespace ctl
