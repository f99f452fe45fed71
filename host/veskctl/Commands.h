#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <string>

#include "host/veskctl/IApi.h"
#include "host/veskctl/Interrupts.h"
#include "host/veskctl/Options.h"
#include "host/veskctl/Output.h"

namespace ctl {

/// What a command works with; all of it outlives the command.
struct Context {
  Options const& options;
  IApi& api;
  Terminal const& terminal;
  Output const& output;
  /// Waits, or learns that it is time to stop.
  std::function<Interrupts::Wake(std::chrono::milliseconds)> wait;
  /// Tells people something that is no part of the output.
  std::function<void(std::string const&)> tell;
  /// Names what has to leave the terminal before the process stops; null for nobody.
  std::function<void(IPausable*)> setPausable{};
};

using Outcome = Result<ExitCode>;

struct Command {
  const char* name;
  const char* help;
  bool takesName;  ///< of a program
  bool isChange;   ///< may take as long as a pass of the watchdog
  void (*declare)(CLI::App& app, Options& options);
  Outcome (*run)(Context const& context);
};

extern const std::array<Command, 9> kCommands;

}  // namespace ctl
