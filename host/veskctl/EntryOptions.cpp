#include "host/veskctl/EntryOptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

#include "host/check/WatchdogKeys.h"
#include "host/veskctl/ValueOption.h"

namespace ctl {

namespace {

struct EntryKey {
  std::string_view key;
  KeyKind kind;
  const char* type;
  const char* help;
  const char* switchesOn = nullptr;  ///< the key of the check that it is the limit of
};

constexpr std::array<EntryKey, 17> kEntryKeys = {{
    {"executable", KeyKind::text, "PATH", "What respawn and restart start"},
    {"arguments", KeyKind::text, "TEXT", "Its arguments"},
    {"working_dir", KeyKind::text, "PATH", "Its working directory"},
    {"action", KeyKind::text, "WORD",
     "At a limit: none, terminate, restart (needs --executable) or osrestart"},
    {"period", KeyKind::integer, "SECONDS", "Length of the averaging window"},
    {"cpu_limit", KeyKind::integer, "PERCENT", "Of one core, mean over the window", "cpu_enabled"},
    {"mem_limit", KeyKind::integer, "KIB", "Of resident memory, mean over the window",
     "mem_enabled"},
    {"inst_limit", KeyKind::integer, "N", "Instances that are already too many", "inst_enabled"},
    {"respawn_limit", KeyKind::integer, "N", "Least number of instances", "respawn_enabled"},
    {"cpu_enabled", KeyKind::boolean, "", "CPU check; switched on by --cpu-limit"},
    {"mem_enabled", KeyKind::boolean, "", "Memory check; switched on by --mem-limit"},
    {"inst_enabled", KeyKind::boolean, "", "Check for too many; switched on by --inst-limit"},
    {"respawn_enabled", KeyKind::boolean, "",
     "Start what is missing; switched on by --respawn-limit"},
    {"count_only_diff_parents", KeyKind::boolean, "", "Not those that another one started"},
    {"count_only_running", KeyKind::boolean, "", "Not those that are stopped"},
    {"send_event", KeyKind::boolean, "", "Publish an event at a limit, as is the default"},
    {"dry_run", KeyKind::boolean, "", "Do nothing to it, only say what would be done"},
}};

/// Whether the options give every key that a program of the file may have.
constexpr bool areComplete() {
  return std::all_of(kProgramKeys.begin(), kProgramKeys.end(), [](WatchdogKey const& known) {
    return known.name == "name" ||
           std::any_of(kEntryKeys.begin(), kEntryKeys.end(), [&](EntryKey const& row) {
             return row.key == known.name && row.kind == known.kind;
           });
  });
}
static_assert(areComplete());

/// Which is that of the file, and of the host.
WatchdogKey const& rangeOf(std::string_view key) {
  return *std::find_if(kProgramKeys.begin(), kProgramKeys.end(),
                       [&](WatchdogKey const& known) { return known.name == key; });
}

std::string optionOf(std::string_view key) {
  std::string name(key);
  std::replace(name.begin(), name.end(), '_', '-');
  return name;
}

void declareKey(CLI::App& app, EntryKey const& row, Json& settings) {
  const std::string name = optionOf(row.key);
  const std::string key(row.key);
  const auto take = [&settings, key](auto const& value) { settings[key] = value; };
  switch (row.kind) {
    case KeyKind::boolean:
      app.add_flag_callback(
          "--" + name, [take] { take(true); }, row.help);
      app.add_flag_callback("--no-" + name, [take] { take(false); })->group("");
      break;
    case KeyKind::integer:
      addNumber(app, "--" + name, row.help, rangeOf(key).least, rangeOf(key).most, take)
          ->type_name(row.type);
      break;
    case KeyKind::text:
      app.add_option_function<std::string>("--" + name, take, row.help)->type_name(row.type);
      break;
  }
}

Result<Json> readObject(std::string const& path) {
  std::ifstream file;
  if (path != "-") {
    file.open(path);
    if (!file) {
      return Failure{ExitCode::noInput,
                     fmt::format("cannot read {}: {}", path, std::strerror(errno))};
    }
  }
  std::istream& input = path == "-" ? std::cin : file;
  std::string text(std::istreambuf_iterator<char>(input), {});
  try {
    Json json = Json::parse(text);
    if (json.is_object()) return json;
    return Failure{ExitCode::noInput, path + ": no JSON object"};
  } catch (Json::exception const& error) {
    return Failure{ExitCode::noInput, fmt::format("{}: {}", path, error.what())};
  }
}

}  // namespace

void declareEntryOptions(CLI::App& app, Options& options) {
  app.add_option("--from-json", options.fromJson,
                 "File with an object of such keys, - for standard input; options go before it")
      ->type_name("FILE");
  for (EntryKey const& row : kEntryKeys) declareKey(app, row, options.settings);
  app.footer("Each switch has its opposite, such as --no-send-event.");
}

Result<Json> entryBody(Options const& options) {
  Json body = Json::object();
  if (!options.fromJson.empty()) {
    auto read = readObject(options.fromJson);
    if (auto const* failure = std::get_if<Failure>(&read)) return *failure;
    body = std::get<Json>(std::move(read));
  }
  for (EntryKey const& row : kEntryKeys) {
    if (row.switchesOn != nullptr && options.settings.contains(row.key)) {
      body[row.switchesOn] = true;
    }
  }
  body.update(options.settings);
  if (!options.name.empty()) body["name"] = options.name;
  return body;
}

}  // namespace ctl
