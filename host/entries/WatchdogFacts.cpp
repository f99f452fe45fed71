#include "host/entries/WatchdogFacts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/check/KeyTable.h"
#include "host/check/WatchdogKeys.h"

namespace {

constexpr const char* kDryRun = "dry_run";

struct Flag {
  const char* key;
  bool EntrySettings::*stored;
};

constexpr std::array<Flag, 7> kFlags = {{
    {"cpu_enabled", &EntrySettings::cpuEnabled},
    {"mem_enabled", &EntrySettings::memEnabled},
    {"inst_enabled", &EntrySettings::instEnabled},
    {"respawn_enabled", &EntrySettings::respawnEnabled},
    {"count_only_diff_parents", &EntrySettings::countOnlyDiffParents},
    {"count_only_running", &EntrySettings::countOnlyRunning},
    {"send_event", &EntrySettings::sendEvent},
}};

/// A limit, and the check that is off where it is out of range.
struct Limit {
  const char* key;
  bool EntrySettings::*check;
  void (*store)(EntrySettings&, int);
};

constexpr std::array<Limit, 4> kLimits = {{
    {"cpu_limit", &EntrySettings::cpuEnabled,
     [](EntrySettings& entry, int value) { entry.cpuLimit = static_cast<unsigned int>(value); }},
    {"mem_limit", &EntrySettings::memEnabled,
     [](EntrySettings& entry, int value) { entry.memLimit = static_cast<std::uint64_t>(value); }},
    {"inst_limit", &EntrySettings::instEnabled,
     [](EntrySettings& entry, int value) { entry.instLimit = static_cast<unsigned int>(value); }},
    {"respawn_limit", &EntrySettings::respawnEnabled,
     [](EntrySettings& entry, int value) { entry.respawnLimit = value; }},
}};

struct Text {
  const char* key;
  std::string EntrySettings::*stored;
};

constexpr std::array<Text, 3> kTexts = {{
    {"executable", &EntrySettings::executable},
    {"arguments", &EntrySettings::arguments},
    {"working_dir", &EntrySettings::workingDir},
}};

bool isInRange(const char* key, int value) {
  const auto* row = std::ranges::find(kProgramKeys, std::string_view(key), &WatchdogKey::name);
  return value >= row->least && value <= row->most;
}

bool isBoolean(KeyTable const& table, std::string_view key) {
  ConfigEntry const* entry = table.entry(key);
  return entry != nullptr && std::holds_alternative<bool>(entry->value.content);
}

EntrySettings readEntry(KeyTable const& table) {
  EntrySettings entry;
  entry.origin = EntryOrigin::file;
  entry.name = *table.text("name");
  if (const auto period = table.integer("period")) {
    entry.period = static_cast<unsigned int>(std::max(*period, 1));
  }
  for (auto const& [key, stored] : kFlags) {
    if (isBoolean(table, key)) entry.*stored = table.isTrue(key);
  }
  for (auto const& [key, check, store] : kLimits) {
    const auto value = table.integer(key);
    if (!value) continue;
    if (isInRange(key, *value)) {
      store(entry, *value);
    } else {
      entry.*check = false;
    }
  }
  for (auto const& [key, stored] : kTexts) {
    if (auto const* text = table.text(key)) entry.*stored = *text;
  }
  auto const* action = table.text("action");
  if (action != nullptr && std::ranges::find(kActions, *action) != kActions.end()) {
    entry.action = *action;
  }
  // What is not understood holds back: it is there for safety.
  const bool isThere = table.entry(kDryRun) != nullptr || table.firstInside(kDryRun) != nullptr;
  entry.dryRun = isThere && (!isBoolean(table, kDryRun) || table.isTrue(kDryRun));
  return entry;
}

GlobalSettings readGlobals(KeyTable const& table) {
  GlobalSettings globals;
  globals.cpuEnabled = table.isTrue("cpu_enabled");
  globals.memEnabled = table.isTrue("mem_enabled");
  globals.instEnabled = table.isTrue("inst_enabled");
  const int sampleTime = table.integer("sample_time").value_or(0);
  if (sampleTime > 0) globals.sampleTime = static_cast<unsigned int>(sampleTime);
  return globals;
}

}  // namespace

WatchdogFacts readWatchdogFacts(TomlFile const& file) {
  Findings ignored;  // the check reports them
  const KeyTable globals(file, kWatchdogTable, ignored);
  WatchdogFacts facts;
  facts.globals = readGlobals(globals);
  for (unsigned int number = 1;; ++number) {
    const KeyTable table(file, globals.fullKey(std::to_string(number)), ignored);
    if (table.text("name") == nullptr) return facts;
    facts.hostKeys.insert(table.fullKey(kDryRun));
    EntrySettings entry = readEntry(table);
    if (std::ranges::find(facts.names, entry.name) != facts.names.end()) continue;
    facts.names.push_back(entry.name);
    if (entry.dryRun) facts.dryRun.names.insert(entry.name);
    facts.entries.push_back(std::move(entry));
  }
}
