#include "host/daemon/Setup.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include "host/daemon/CheckCommand.h"
#include "host/trust/TrustedPath.h"

namespace {

/// Reads the file into `setup`. @return the failure, if there is one.
std::optional<Failure> readFile(std::string const& path, DaemonSetup& setup) {
  auto read = readTomlFile(path);
  if (auto* failure = std::get_if<TomlFailure>(&read); failure != nullptr) {
    const auto code =
        failure->code == -EINVAL ? ExitCode::badConfiguration : ExitCode::noConfiguration;
    return Failure{code, {std::move(failure->message)}};
  }
  setup.mainFile = std::get<TomlFile>(std::move(read));
  setup.host = setup.mainFile->takeTable(kHostTable);
  auto settings = readHostSettings(path, setup.host);
  if (auto* failure = std::get_if<Failure>(&settings); failure != nullptr) {
    return std::move(*failure);
  }
  setup.settings = std::get<HostSettings>(std::move(settings));
  return std::nullopt;
}

Failure noPlugin(std::string const& file) {
  const std::string line =
      file.empty() ? "nothing to run: no configuration file (-c) and no plug-in (--plugin) is given"
                   : file + ": nothing to run: no `plugins' in [host], and no --plugin";
  return {ExitCode::pluginFailed, {line}};
}

}  // namespace

std::variant<DaemonSetup, Failure> readSetup(Options const& options) {
  DaemonSetup setup;
  setup.options = options;
  if (!options.configFile.empty()) {
    if (auto failure = readFile(options.configFile, setup)) return std::move(*failure);
  }
  for (std::string const& plugin : options.plugins) {
    setup.settings.plugins.push_back(std::filesystem::absolute(plugin));
  }
  if (options.logLevel) setup.settings.log.level = *options.logLevel;
  if (options.dryRun) setup.settings.dryRun = true;
  if (setup.settings.plugins.empty()) return noPlugin(options.configFile);
  if (setup.mainFile) setup.watchdog = checkWatchdog(*setup.mainFile, setup.settings, {});
  return setup;
}

std::variant<std::shared_ptr<LogOutput>, Failure> openOutputs(HostSettings const& settings) {
  std::string cause;
  auto output = LogOutput::open(settings.log, cause);
  if (output == nullptr) {
    return Failure{ExitCode::noOutput,
                   {"cannot open the log file " + settings.log.file + ": " + cause}};
  }
  if (!settings.programOutput.empty()) {
    const auto opened = openTrustedOutput(settings.programOutput);
    if (auto const* reason = std::get_if<Distrust>(&opened); reason != nullptr) {
      return Failure{
          ExitCode::noOutput,
          {"cannot open the program output " + settings.programOutput + ": " + reason->text}};
    }
  }
  if (settings.stateDir.empty()) return output;
  if (const std::string distrust = distrustOf(settings.stateDir); !distrust.empty()) {
    return Failure{ExitCode::noOutput,
                   {"cannot use the state folder " + settings.stateDir + ": " + distrust}};
  }
  return output;
}
