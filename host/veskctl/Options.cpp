#include "host/veskctl/Options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

#include "host/check/NearestName.h"
#include "host/veskctl/Commands.h"
#include "host/veskctl/SocketTrouble.h"
#include "host/veskctl/ValueOption.h"

namespace ctl {

namespace {

constexpr const char* kPurpose = "Asks a running veskd what it watches, and changes it.";
constexpr double kLongestTimeout = 86400;  // s

const std::map<std::string, ColourUse> kColourUses = {
    {"auto", ColourUse::automatic}, {"always", ColourUse::always}, {"never", ColourUse::never}};

std::string footer() {
  std::string text = "Exit status:\n";
  for (auto const& [code, meaning] : kExitCodes) {
    fmt::format_to(std::back_inserter(text), "  {:<3} {}\n", static_cast<int>(code), meaning);
  }
  return text;
}

/// What a shell makes of an unset variable is a mistake, not a name.
std::string refuseEmpty(std::string const& value) { return value.empty() ? "it is empty" : ""; }

std::string refuseLong(std::string const& path) {
  return fitsIntoAddress(path) ? "" : "the path is too long for a socket";
}

void declareCommand(CLI::App& app, Command const& command, Options& options) {
  CLI::App* sub = app.add_subcommand(command.name, command.help);
  sub->parse_complete_callback([&options, &command] { options.command = &command; });
  if (command.takesName) {
    const bool isAdd = command.name == std::string_view("add");
    sub->add_option("NAME", options.name, "Name of the program")
        ->type_name("")
        ->required(!isAdd)
        ->check(refuseEmpty);
  }
  command.declare(*sub, options);
}

/// What was not expected, with the known word that is nearest.
std::string whatIsUnknown(CLI::App const& app) {
  std::vector<std::string> names;
  const auto addAll = [&](CLI::App const& from) {
    for (CLI::Option const* option : from.get_options()) {
      for (std::string const& name : option->get_lnames()) names.push_back("--" + name);
    }
  };
  addAll(app);
  for (CLI::App const* sub : app.get_subcommands()) addAll(*sub);
  if (app.get_subcommands().empty()) {
    for (Command const& row : kCommands) names.emplace_back(row.name);
  }
  const std::vector<std::string> unknown = app.remaining(true);
  if (unknown.empty()) return "";
  std::string word = unknown.front();
  word.resize(std::min(word.find('='), word.size()));
  const std::vector<std::string_view> known(names.begin(), names.end());
  return fmt::format(
      "unknown {} `{}'{}",
      word.starts_with('-') || !app.get_subcommands().empty() ? "argument" : "command", word,
      didYouMean(word, known, ""));
}

Failure failureOf(CLI::App const& app, CLI::ParseError const& error) {
  std::string text = whatIsUnknown(app);
  if (text.empty()) text = error.what();
  return {ExitCode::badCommandLine, text + "; see veskctl --help"};
}

}  // namespace

void declareOptions(CLI::App& app, Options& options) {
  app.description(kPurpose);
  app.name("veskctl");
  app.fallthrough();
  app.require_subcommand(1, 1);
  app.add_option("-s,--socket", options.socket,
                 "Socket of veskd; else $VESKD_SOCKET, else /run/veskd.sock")
      ->type_name("PATH")
      ->check(refuseEmpty)
      ->check(refuseLong);
  addNumber(app, "--timeout",
            "How long an answer may take, 0 for ever; 10 for reading, 0 for changes", 0.0,
            kLongestTimeout, [&options](double seconds) { options.timeout = seconds; })
      ->type_name("SECONDS");
  app.add_flag("-j,--json", options.isJson, "Print the host's answer, which is JSON");
  addWord(app, "--color", "auto, always or never", kColourUses, options.colours)->type_name("WHEN");
  app.set_version_flag("--version", "veskctl " VESK_VERSION, "Print the version and exit");
  app.footer(footer());
  for (Command const& command : kCommands) declareCommand(app, command, options);
}

std::variant<Options, Text, Failure> parseOptions(int argc, const char* const* argv,
                                                  std::string const& socket) {
  Options options;
  CLI::App app;
  declareOptions(app, options);
  try {
    app.parse(argc, argv);
  } catch (CLI::CallForVersion const& version) {
    return Text{version.what() + std::string("\n")};
  } catch (CLI::CallForHelp const&) {
    return Text{app.help()};
  } catch (CLI::ParseError const& error) {
    return failureOf(app, error);
  }
  if (options.socket.empty()) options.socket = socket;
  if (!fitsIntoAddress(options.socket)) {
    return Failure{ExitCode::badCommandLine, "VESKD_SOCKET: the path is too long for a socket"};
  }
  const bool isNameless = options.command->takesName && options.name.empty();
  if (isNameless && options.fromJson.empty()) {
    return Failure{ExitCode::badCommandLine, "NAME is required; see veskctl --help"};
  }
  return options;
}

}  // namespace ctl
