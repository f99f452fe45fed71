#include "host/daemon/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <iterator>

#include "host/services/LogLevels.h"

namespace {

constexpr const char* kPurpose =
    "Runs plug-in libraries in the foreground until SIGTERM, SIGINT or SIGHUP.";

std::string exitCodes() {
  std::string text = "Exit status:\n";
  for (auto const& [code, meaning] : kExitCodes) {
    fmt::format_to(std::back_inserter(text), "  {:<3} {}\n", static_cast<int>(code), meaning);
  }
  return text;
}

std::vector<std::string> levelNames() {
  std::vector<std::string> names;
  names.reserve(kLogLevels.size());
  for (LogLevelName const& row : kLogLevels) names.emplace_back(row.name);
  return names;
}

/// What a shell makes of an unset variable is a mistake, not a name.
std::string refuseEmpty(std::string const& value) { return value.empty() ? "an empty name" : ""; }

}  // namespace

std::variant<Options, Answer, Failure> parseOptions(int argc, const char* const* argv) {
  Options options;
  std::string level;
  CLI::App app(kPurpose, "veskd");
  auto* config = app.add_option("-c,--config", options.configFile, "Configuration file (TOML)")
                     ->type_name("FILE")
                     ->check(refuseEmpty);
  app.add_option("--plugin", options.plugins,
                 "Plug-in library to run beside those of the file; may be repeated")
      ->type_name("PATH")
      ->allow_extra_args(false)
      ->check(refuseEmpty);
  app.add_option("--log-level", level, "Least level to log, in place of the file's")
      ->type_name("LEVEL")
      ->check(CLI::IsMember(levelNames()));
  app.add_flag("--dry-run", options.dryRun,
               "Watch, and only say what would be ended, started or restarted");
  auto* check = app.add_flag("--check", options.check,
                             "Say what is wrong with the configuration file, and run nothing")
                    ->needs(config);
  app.add_flag("--json", options.json, "Print what --check finds as JSON")->needs(check);
  app.set_version_flag("--version", "veskd " VESK_VERSION, "Print the version and exit");
  app.footer(exitCodes());
  try {
    app.parse(argc, argv);
  } catch (CLI::CallForVersion const& version) {
    return Answer{version.what() + std::string("\n")};
  } catch (CLI::CallForHelp const&) {
    return Answer{app.help()};
  } catch (CLI::ParseError const& error) {
    return Failure{ExitCode::badCommandLine, {error.what() + std::string("; see veskd --help")}};
  }
  options.logLevel = logLevelOf(level);
  return options;
}
