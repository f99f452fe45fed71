#include "host/daemon/CheckCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

#include "host/check/CheckConfiguration.h"
#include "host/check/WatchdogKeys.h"
#include "host/daemon/WatchdogFile.h"
#include "host/services/LogFormat.h"
#include "host/trust/TrustedPath.h"

namespace {

/// Of the watchdog's own file in the folder of files per plug-in.
CheckedWatchdog checkOwnFile(std::string const& mainFile, HostSettings const& settings,
                             FilePosition configDir) {
  const std::string path = watchdogFilePath(settings);
  auto read = readTomlFile(path);
  if (auto* file = std::get_if<TomlFile>(&read); file != nullptr) {
    CheckedWatchdog checked{checkConfiguration(*file, true)};
    checked.files.emplace(path, std::move(*file));
    return checked;
  }
  auto const& failure = std::get<TomlFailure>(read);
  if (failure.code == -EINVAL) {
    Finding finding = syntaxFinding(path, failure);
    finding.what += fmt::format(": {}", kNoStart);
    return {{finding}};
  }
  if (failure.code == -ENOENT && !runsWatchdog(settings)) return {};
  return {{{mainFile, configDir, Severity::error,
            fmt::format("`host.config_dir': {}: {}", failure.message, kNoStart), "",
            Reporter::others}}};
}

ConfigEntry const* entryOf(ConfigEntries const& host, std::string const& key) {
  const auto found = host.find(std::string(kHostTable) + '.' + key);
  return found != host.end() ? &found->second : nullptr;
}

/// Where the elements of `plugins` stand.
std::vector<FilePosition> pluginPlaces(ConfigEntries const& host) {
  ConfigEntry const* entry = entryOf(host, "plugins");
  auto const* array =
      entry != nullptr ? std::get_if<ConfigValue::Array>(&entry->value.content) : nullptr;
  std::vector<FilePosition> places;
  if (array == nullptr) return places;
  for (ConfigValue const& element : *array) places.push_back(element.position);
  return places;
}

void checkPlugins(std::string const& path, ConfigEntries const& host, HostSettings const& settings,
                  Findings& findings) {
  const auto places = pluginPlaces(host);
  // The settings hold all before the first that is wrong.
  for (std::size_t i = 0; i < std::min(places.size(), settings.plugins.size()); ++i) {
    std::string const& plugin = settings.plugins[i];
    const bool isThere = ::access(plugin.c_str(), R_OK) == 0;
    const std::string cause = isThere ? distrustOf(plugin) : std::generic_category().message(errno);
    if (cause.empty()) continue;
    findings.push_back(
        {path, places[i], Severity::error,
         fmt::format("`host.plugins' contains \"{}\": {}: the host does not start", plugin, cause),
         ""});
  }
}

/// Where the host writes to, and what others must not be able to turn against it.
struct OutputRow {
  const char* key;
  std::string path;
  std::string (*distrust)(std::string const& path);
};

void checkOutputs(std::string const& path, ConfigEntries const& host, HostSettings const& settings,
                  Findings& findings) {
  const std::array<OutputRow, 4> rows = {{
      {"log_file", settings.log.file, distrustOfOutput},
      {"program_output", settings.programOutput, distrustOfOutput},
      {"state_dir", settings.stateDir, distrustOf},
      {"control_socket", settings.control.socket, distrustOfFolder},
  }};
  for (auto const& [key, output, distrustOfRow] : rows) {
    const std::string distrust = output.empty() ? "" : distrustOfRow(output);
    if (distrust.empty()) continue;
    findings.push_back(
        {path, entryOf(host, key)->value.position, Severity::error,
         fmt::format("`host.{}' is \"{}\": {}: the host does not start", key, output, distrust),
         ""});
  }
}

void checkControlSocket(std::string const& path, ConfigEntries const& host,
                        HostSettings const& settings, Findings& findings) {
  const std::filesystem::path socket = settings.control.socket;
  if (socket.empty() || std::filesystem::is_directory(socket.parent_path())) return;
  findings.push_back({path, entryOf(host, "control_socket")->value.position, Severity::error,
                      fmt::format("`host.control_socket' is \"{}\", whose folder is not there: the "
                                  "host does not start",
                                  socket.string()),
                      ""});
}

/// Of a file that is TOML.
CheckedFile checkTables(TomlFile file, std::vector<std::string> const& morePlugins) {
  ConfigEntries host = file.takeTable(kHostTable);
  HostReading reading = judgeHostSettings(file.path, host);
  Findings findings;
  for (auto const& [position, text] : reading.complaints) {
    const char* separator = text.ends_with('?') ? " " : ": ";
    findings.push_back(
        {file.path, position, Severity::error, text + separator + "the host does not start", ""});
  }
  checkPlugins(file.path, host, reading.settings, findings);
  reading.settings.plugins.insert(reading.settings.plugins.end(), morePlugins.begin(),
                                  morePlugins.end());
  checkControlSocket(file.path, host, reading.settings, findings);
  checkOutputs(file.path, host, reading.settings, findings);
  ConfigEntry const* configDir = entryOf(host, "config_dir");
  CheckedWatchdog watchdog = checkWatchdog(
      file, reading.settings, configDir != nullptr ? configDir->value.position : FilePosition{});
  std::ranges::move(findings, std::back_inserter(watchdog.findings));
  sortByPlace(watchdog.findings, file.path);
  return {std::move(file), std::move(host), std::move(reading.settings), std::move(watchdog)};
}

Answer answerWith(Findings const& findings, bool asJson) {
  std::string text;
  for (Finding const& finding : findings) text += printable(lineOf(finding)) + '\n';
  return {asJson ? jsonOf(findings) + '\n' : text,
          hasError(findings) ? ExitCode::badConfiguration : ExitCode::stopped};
}

}  // namespace

Finding syntaxFinding(std::string const& path, TomlFailure const& failure) {
  return {path, failure.position, Severity::error, failure.cause, "", Reporter::others};
}

CheckedWatchdog checkWatchdog(TomlFile const& mainFile, HostSettings const& settings,
                              FilePosition configDir) {
  if (settings.configDir.empty()) return {checkConfiguration(mainFile, runsWatchdog(settings))};
  CheckedWatchdog checked = checkOwnFile(mainFile.path, settings, configDir);
  std::ranges::move(findUnreadTables(mainFile, "plug-ins read their files in `host.config_dir', " +
                                                   settings.configDir),
                    std::back_inserter(checked.findings));
  sortByPlace(checked.findings, mainFile.path);
  return checked;
}

std::variant<CheckedFile, TomlFailure> readChecked(std::string const& path,
                                                   std::vector<std::string> const& morePlugins) {
  auto read = readTomlFile(path);
  if (auto* failure = std::get_if<TomlFailure>(&read); failure != nullptr) {
    return std::move(*failure);
  }
  return checkTables(std::get<TomlFile>(std::move(read)), morePlugins);
}

std::variant<Answer, Failure> checkFile(Options const& options) {
  const auto read = readChecked(options.configFile, options.plugins);
  if (auto const* failure = std::get_if<TomlFailure>(&read); failure != nullptr) {
    if (failure->code != -EINVAL) return Failure{ExitCode::noConfiguration, {failure->message}};
    return answerWith({syntaxFinding(options.configFile, *failure)}, options.json);
  }
  return answerWith(std::get<CheckedFile>(read).watchdog.findings, options.json);
}
