#include <fmt/format.h>

#include <array>
#include <string_view>
#include <vector>

#include "host/veskctl/Health.h"
#include "host/veskctl/Render.h"
#include "host/veskctl/Table.h"

namespace ctl {

namespace {

using Lines = std::vector<std::pair<const char*, std::string>>;

struct Word {
  std::string_view word;
  const char* text;
};

constexpr std::array<Word, 3> kOrigins = {{{"file", "the configuration file"},
                                           {"control", "added while the host runs"},
                                           {"plugin", "another plug-in"}}};

constexpr std::array<Word, 10> kStates = {{{"R", "runs"},
                                           {"S", "sleeps"},
                                           {"D", "waits for the disk"},
                                           {"I", "idles"},
                                           {"T", "stopped"},
                                           {"t", "traced"},
                                           {"Z", "zombie"},
                                           {"X", "dead"},
                                           {"P", "parked"},
                                           {"", "gone"}}};

template <std::size_t size>
std::string meaningOf(std::array<Word, size> const& words, std::string const& word) {
  for (Word const& row : words) {
    if (row.word == word) return row.text;
  }
  return word;
}

struct Total {
  const char* key;
  const char* one;
  const char* many;
};

constexpr std::array<Total, 8> kTotals = {{
    {"events", "event", "events"},
    {"kills", "kill", "kills"},
    {"failed_kills", "failed kill", "failed kills"},
    {"starts", "start", "starts"},
    {"failed_starts", "failed start", "failed starts"},
    {"os_restarts", "restart of the system", "restarts of the system"},
    {"refused_os_restarts", "refused restart of the system", "refused restarts of the system"},
    {"would_haves", "act held back by the dry run", "acts held back by the dry run"},
}};

std::string totalsOf(Json const& totals) {
  std::string text;
  for (Total const& total : kTotals) {
    const auto number = static_cast<unsigned long long>(integerOf(totals, total.key));
    if (number == 0) continue;
    text += (text.empty() ? "" : ", ") + counted(number, total.one, total.many);
  }
  return text.empty() ? "nothing was done" : text;
}

std::string limitsOf(Json const& settings) {
  std::string text;
  const auto add = [&](const char* isEnabled, std::string const& limit) {
    if (isTrue(settings, isEnabled)) text += (text.empty() ? "" : ", ") + limit;
  };
  add("cpu_enabled", "CPU " + percentOf(settings, "cpu_limit"));
  add("mem_enabled", "memory " + memoryOf(settings, "mem_limit"));
  const auto most = static_cast<unsigned long long>(integerOf(settings, "inst_limit"));
  add("inst_enabled", counted(most, "instance is", "instances are") + " too many");
  const long long least = integerOf(settings, "respawn_limit", -1);
  add("respawn_enabled",
      least < 0 ? "one more is started at every sample"
                : fmt::format("at least {}",
                              counted(static_cast<unsigned long long>(least), "instance")));
  return text.empty() ? "none" : text;
}

std::string actionOf(Json const& settings) {
  std::string text = textOf(settings, "action", "-");
  text += isTrue(settings, "send_event") ? ", with an event" : ", without an event";
  return text + (isTrue(settings, "dry_run") ? "; a dry run: nothing is done" : "");
}

void addSettings(Json const& settings, Lines& lines) {
  if (settings.is_null()) {
    lines.emplace_back("settings", "not known yet");
    return;
  }
  lines.emplace_back("limits", limitsOf(settings));
  lines.emplace_back("window", countOf(settings, "period") + " s");
  lines.emplace_back("action", actionOf(settings));
  std::string counts;
  if (isTrue(settings, "count_only_diff_parents")) counts = "none that another one started";
  if (isTrue(settings, "count_only_running"))
    counts += counts.empty() ? "only running ones" : ", only running ones";
  if (!counts.empty()) lines.emplace_back("counts", counts);
  const std::string program = textOf(settings, "executable");
  const std::string arguments = textOf(settings, "arguments");
  if (!program.empty()) {
    lines.emplace_back("program", program + (arguments.empty() ? "" : ' ' + arguments));
  }
  const std::string folder = textOf(settings, "working_dir");
  if (!folder.empty()) lines.emplace_back("folder", folder);
}

/// @param isCounted whether anybody counts the instances.
Row rowOf(Json const& instance, bool isCounted) {
  Json const& window = field(instance, "window");
  const auto age = integerOf(window, "samples") > 0 ? numberOf(window, "age_ms") : std::nullopt;
  return {{countOf(instance, "pid")},
          {countOf(instance, "parent_pid")},
          {!isCounted                   ? "-"
           : isTrue(instance, "counts") ? "yes"
                                        : "no"},
          {meaningOf(kStates, textOf(instance, "state"))},
          {percentOf(instance, "cpu_percent")},
          {memoryOf(instance, "memory_kib")},
          {percentOf(window, "cpu_average")},
          {memoryOf(window, "memory_average")},
          {countOf(window, "samples")},
          {age ? humanDuration(*age) : "-"}};
}

std::string instancesTable(Json const& entry, View const& view) {
  Json const& instances = listOf(entry, "instances");
  if (instances.empty()) return "no process\n";
  std::vector<Row> rows;
  const bool isCounted = numberOf(entry, "counted").has_value();
  for (Json const& instance : instances) rows.push_back(rowOf(instance, isCounted));
  return renderTable({{"PID", true},
                      {"PARENT", true, 0, 3},
                      {"COUNTS", false, 0, 5},
                      {"STATE", false, 4},
                      {"CPU", true},
                      {"MEM", true},
                      {"CPU MEAN", true, 0, 4},
                      {"MEM MEAN", true, 0, 4},
                      {"SAMPLES", true, 0, 7},
                      {"IN", true, 0, 6}},
                     std::move(rows), view);
}

}  // namespace

std::string renderEntry(Json const& entry, View const& view) {
  Lines lines;
  lines.emplace_back("origin", meaningOf(kOrigins, textOf(entry, "origin", "-")));
  addSettings(field(entry, "settings"), lines);
  const auto lookedAt = timeOf(entry, "looked_at");
  lines.emplace_back("looked at", lookedAt ? ago(*lookedAt, view.now) : "not yet");
  lines.emplace_back("so far", totalsOf(field(entry, "totals")));

  std::string text = painted(shown(textOf(entry, "name", "?")), Colour::strong, view) + ": " +
                     painted(shown(healthWord(entry)), healthOf(entry).colour, view) + '\n';
  std::string details;
  for (auto const& [title, value] : lines) {
    details += fmt::format("  {:<10} {}\n", title, shown(value));
  }
  return text + cutLines(details, view) + '\n' + instancesTable(entry, view);
}

}  // namespace ctl
