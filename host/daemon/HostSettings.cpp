#include "host/daemon/HostSettings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <string_view>
#include <type_traits>
#include <utility>

#include "host/check/NearestName.h"
#include "host/control/MetricsSocket.h"
#include "host/process/CommandLine.h"
#include "host/process/ProgramLimits.h"
#include "host/services/LogLevels.h"

namespace {

constexpr long long kLongestGraceMs = 600'000;

/// What is being filled, and the folder that its paths are relative to.
struct Target {
  HostSettings settings;
  std::filesystem::path folder;

  std::string absolute(std::string const& path) const {
    return path.empty() ? path : (folder / path).lexically_normal().string();
  }
};

/// Takes a value over. @return the part of it that is not as expected, or null.
using Store = ConfigValue const* (*)(ConfigValue const& value, Target& target);

/// The text of a value, if it is one and can be handed to the system as it is.
std::string const* textOf(ConfigValue const& value) {
  auto const* text = std::get_if<std::string>(&value.content);
  return text != nullptr && text->find('\0') == std::string::npos ? text : nullptr;
}

template <auto member>
ConfigValue const* storePath(ConfigValue const& value, Target& target) {
  std::string const* path = textOf(value);
  if (path == nullptr) return &value;
  target.settings.*member = target.absolute(*path);
  return nullptr;
}

ConfigValue const* storeLogFile(ConfigValue const& value, Target& target) {
  std::string const* path = textOf(value);
  if (path == nullptr) return &value;
  target.settings.log.file = target.absolute(*path);
  return nullptr;
}

/// Takes an array of texts over. @param take returns whether its text is right.
template <typename Take>
ConfigValue const* storeEach(ConfigValue const& value, Take take) {
  auto const* array = std::get_if<ConfigValue::Array>(&value.content);
  if (array == nullptr) return &value;
  for (ConfigValue const& element : *array) {
    std::string const* text = textOf(element);
    if (text == nullptr || !take(*text)) return &element;
  }
  return nullptr;
}

ConfigValue const* storePlugins(ConfigValue const& value, Target& target) {
  return storeEach(value, [&target](std::string const& path) {
    if (!path.empty()) target.settings.plugins.push_back(target.absolute(path));
    return !path.empty();
  });
}

ConfigValue const* storeProgramEnvironment(ConfigValue const& value, Target& target) {
  auto& environment = target.settings.programEnvironment;
  environment.clear();
  std::set<std::string> names;
  return storeEach(value, [&environment, &names](std::string const& text) {
    const std::string name = text.substr(0, text.find('='));
    if (name.empty() || !names.insert(name).second) return false;
    if (name != text) {
      environment.push_back(text);
    } else if (const char* own = std::getenv(name.c_str()); own != nullptr) {
      environment.push_back(name + "=" + own);
    }
    return true;
  });
}

ConfigValue const* storeProgramLimits(ConfigValue const& value, Target& target) {
  auto& limits = target.settings.programLimits;
  return storeEach(value, [&limits](std::string const& text) {
    const auto limit = parseProgramLimit(text);
    const bool isNew = limit && std::ranges::find(limits, limit->resource,
                                                  &ProgramLimit::resource) == limits.end();
    if (isNew) limits.push_back(*limit);
    return isNew;
  });
}

ConfigValue const* storeLogLevel(ConfigValue const& value, Target& target) {
  std::string const* name = textOf(value);
  const auto level = name != nullptr ? logLevelOf(*name) : std::nullopt;
  if (!level) return &value;
  target.settings.log.level = *level;
  return nullptr;
}

/// The integer of a value, if it is one of the range.
std::optional<long long> integerOf(ConfigValue const& value, long long least, long long most) {
  auto const* number = std::get_if<long long>(&value.content);
  if (number == nullptr || *number < least || *number > most) return std::nullopt;
  return *number;
}

ConfigValue const* storeKillGrace(ConfigValue const& value, Target& target) {
  const auto milliseconds = integerOf(value, 0, kLongestGraceMs);
  if (!milliseconds) return &value;
  target.settings.killGrace = std::chrono::milliseconds(*milliseconds);
  return nullptr;
}

/// Takes over one of the limits of restarts.
template <auto member, long long least, long long most>
ConfigValue const* storeRestartLimit(ConfigValue const& value, Target& target) {
  const auto number = integerOf(value, least, most);
  if (!number) return &value;
  auto& limit = target.settings.restartLimits.*member;
  limit = std::remove_reference_t<decltype(limit)>(*number);
  return nullptr;
}

template <auto member>
ConfigValue const* storeFlag(ConfigValue const& value, Target& target) {
  auto const* flag = std::get_if<bool>(&value.content);
  if (flag == nullptr) return &value;
  target.settings.*member = *flag;
  return nullptr;
}

ConfigValue const* storeRestartCommand(ConfigValue const& value, Target& target) {
  std::string const* command = textOf(value);
  std::vector<std::string> words;
  if (command == nullptr || !splitCommandLine(*command, words)) return &value;
  // Blanks alone are not the same as nothing: they would never restart.
  if (words.empty() != command->empty()) return &value;
  target.settings.restartCommand = *command;
  return nullptr;
}

ConfigValue const* storeControlSocket(ConfigValue const& value, Target& target) {
  std::string const* path = textOf(value);
  if (path == nullptr) return &value;
  target.settings.control.socket = target.absolute(*path);
  return target.settings.control.socket.size() > kLongestSocketPath ? &value : nullptr;
}

/// Takes over a text of the control API. @param isRight says so of one that is not empty.
template <auto member, auto isRight>
ConfigValue const* storeControl(ConfigValue const& value, Target& target) {
  std::string const* text = textOf(value);
  if (text == nullptr || (!text->empty() && !isRight(*text))) return &value;
  target.settings.control.*member = *text;
  return nullptr;
}

struct Row {
  const char* key;
  const char* expected;
  Store store;
};

constexpr std::array<Row, 19> kRows = {{
    {"plugins", "an array of strings that name files", storePlugins},
    {"log_level", R"("debug", "info", "warning", "error" or "off")", storeLogLevel},
    {"log_file", "a string that names a file", storeLogFile},
    {"config_dir", "a string that names a folder", storePath<&HostSettings::configDir>},
    {"kill_grace_ms", "an integer from 0 to 600000", storeKillGrace},
    {"program_output", "a string that names a file", storePath<&HostSettings::programOutput>},
    {"process_events", "a boolean", storeFlag<&HostSettings::processEvents>},
    {"program_environment", R"(an array of "NAME=value" or "NAME", each name once,)",
     storeProgramEnvironment},
    {"program_limits",
     R"(an array such as ["core=0", "nofile=1024:unlimited"], soft up to hard, each name once,)",
     storeProgramLimits},
    {"restart_command", "a command line with every quote closed", storeRestartCommand},
    {"restart_min_uptime", "an integer from 0 to 86400",
     storeRestartLimit<&RestartLimits::minUptime, 0, 86'400>},
    {"restart_limit", "an integer from 0 to 100", storeRestartLimit<&RestartLimits::limit, 0, 100>},
    {"restart_window", "an integer from 1 to 31536000",
     storeRestartLimit<&RestartLimits::window, 1, 31'536'000>},
    {"dry_run", "a boolean", storeFlag<&HostSettings::dryRun>},
    {"state_dir", "a string that names a folder", storePath<&HostSettings::stateDir>},
    {"control_socket", "a string that names a socket, 107 bytes at most with its folder",
     storeControlSocket},
    {"control_owner", "a user of this machine, or a number in quotes",
     storeControl<&ControlSettings::owner, userOf>},
    {"control_group", "a group of this machine, or a number in quotes",
     storeControl<&ControlSettings::group, groupOf>},
    {"metrics_address", R"(a numeric address and a port such as "127.0.0.1:9256" or "[::1]:9256")",
     storeControl<&ControlSettings::metricsAddress, parseAddress>},
}};

/// A value of the right type is wrong by what it says, so that is shown.
std::string describeContent(ConfigValue const& value) {
  auto const* text = std::get_if<std::string>(&value.content);
  if (text == nullptr) return describe(value);
  return textOf(value) != nullptr ? fmt::format("\"{}\"", *text) : "a string with a null in it";
}

std::vector<std::string_view> keyNames() {
  std::vector<std::string_view> names;
  names.reserve(kRows.size());
  for (Row const& row : kRows) names.emplace_back(row.key);
  return names;
}

void readEntry(std::string const& key, ConfigEntry const& entry, Target& target,
               std::vector<SettingsComplaint>& complaints) {
  if (key == kHostTable) {
    complaints.push_back({entry.keyPosition, fmt::format("`{}' is {}, but a table is expected", key,
                                                         describe(entry.value))});
    return;
  }
  const std::string_view name =
      std::string_view(key).substr(std::string_view(kHostTable).size() + 1);
  const auto* row = std::find_if(kRows.begin(), kRows.end(),
                                 [name](Row const& candidate) { return name == candidate.key; });
  if (row == kRows.end()) {
    complaints.push_back({entry.keyPosition, fmt::format("unknown key `{}'{}", key,
                                                         didYouMean(name, keyNames(), ""))});
    return;
  }
  ConfigValue const* wrong = row->store(entry.value, target);
  if (wrong == nullptr) return;
  complaints.push_back({wrong->position, fmt::format("`{}' {} {}, but {} is expected", key,
                                                     wrong == &entry.value ? "is" : "contains",
                                                     describeContent(*wrong), row->expected)});
}

}  // namespace

HostReading judgeHostSettings(std::string const& path, ConfigEntries const& entries) {
  Target target{{}, std::filesystem::absolute(path).parent_path()};
  std::vector<SettingsComplaint> complaints;
  for (auto const& [key, entry] : entries) readEntry(key, entry, target, complaints);
  std::sort(complaints.begin(), complaints.end());
  return {std::move(target.settings), std::move(complaints)};
}

std::variant<HostSettings, Failure> readHostSettings(std::string const& path,
                                                     ConfigEntries const& entries) {
  HostReading reading = judgeHostSettings(path, entries);
  if (reading.complaints.empty()) return std::move(reading.settings);
  Failure failure{ExitCode::badConfiguration, {}};
  for (auto const& [position, text] : reading.complaints) {
    failure.lines.push_back(atPosition(path, position) + text);
  }
  return failure;
}
