#pragma once

#include <optional>
#include <string>

#include "host/veskctl/Fields.h"
#include "host/veskctl/Render.h"
#include "host/veskctl/Result.h"
#include "host/veskctl/Terminal.h"

namespace CLI {
class App;
}

namespace ctl {

struct Command;

/// What the command line says.
struct Options {
  Command const* command = nullptr;
  std::string socket;
  std::optional<double> timeout;  ///< seconds; zero for none
  bool isJson = false;
  ColourUse colours = ColourUse::automatic;

  std::string name;  ///< of the program that the command is about

  // Of single commands.
  bool isCheck = false;
  double watchSeconds = 0;  ///< zero for not at all
  SortKey sort = SortKey::health;
  bool isFollow = false;
  bool isWithoutReconnect = false;
  std::optional<unsigned long long> from;
  std::optional<unsigned int> limit;
  std::string fromJson;            ///< file, or "-"
  Json settings = Json::object();  ///< what the options of `add` say
};

/// A text that is all there is to print: the help or the version.
struct Text {
  std::string text;
};

/// @param socket where none is named.
std::variant<Options, Text, Failure> parseOptions(int argc, const char* const* argv,
                                                  std::string const& socket);

/// Declares all commands and options.
/// @param options outlives the application.
void declareOptions(CLI::App& app, Options& options);

}  // namespace ctl
