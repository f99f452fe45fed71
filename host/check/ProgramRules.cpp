#include "host/check/ProgramRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "host/check/NearestName.h"
#include "host/check/WatchdogKeys.h"
#include "host/process/CommandLine.h"
#include "host/process/StartableProgram.h"

namespace {

/// A check that is switched on without its limit.
struct SwitchedLimit {
  const char* enabled;
  const char* limit;
  bool GlobalSwitches::*global;
  const char* result;
};

constexpr std::array<SwitchedLimit, 4> kSwitchedLimits = {{
    {"cpu_enabled", "cpu_limit", &GlobalSwitches::cpu, "0 holds, which every window reaches"},
    {"mem_enabled", "mem_limit", &GlobalSwitches::mem, "0 holds, which every window reaches"},
    {"inst_enabled", "inst_limit", &GlobalSwitches::inst,
     "0 holds, which is reached at every sample that finds the program"},
    {"respawn_enabled", "respawn_limit", &GlobalSwitches::inst,
     "the program is started at every sample"},
}};

/// Whether a check that is switched on is in force: a limit out of range ends it.
bool isOn(KeyTable const& program, std::string_view enabled, std::string_view limit) {
  if (!program.isTrue(enabled)) return false;
  const auto* key = std::ranges::find(kProgramKeys, limit, &WatchdogKey::name);
  const auto value = program.integer(limit);
  return !value || (*value >= key->least && *value <= key->most);
}

bool isRespawned(KeyTable const& program, GlobalSwitches const& globals) {
  return globals.inst && isOn(program, "respawn_enabled", "respawn_limit");
}

bool isRestarted(KeyTable const& program) {
  std::string const* action = program.text("action");
  return action != nullptr && *action == "restart";
}

void checkLimits(KeyTable& program, GlobalSwitches const& globals) {
  for (auto const& [enabled, limit, global, result] : kSwitchedLimits) {
    if (!(globals.*global) || !program.isTrue(enabled) || program.integer(limit)) continue;
    program.warnAtKey(
        enabled, fmt::format("`{}' without `{}': {}", program.fullKey(enabled), limit, result));
  }
}

void checkPeriod(KeyTable& program, GlobalSwitches const& globals) {
  constexpr int kDefault = 5;
  const bool hasWindow = (globals.cpu && isOn(program, "cpu_enabled", "cpu_limit")) ||
                         (globals.mem && isOn(program, "mem_enabled", "mem_limit"));
  const int period = std::max(program.integer("period").value_or(kDefault), 1);
  if (!hasWindow || globals.sampleTime <= period) return;
  // Where it is the default that is too short, there is no better place.
  const char* key = program.integer("period") ? "period" : "name";
  program.warnAtValue(key, fmt::format("the period of {} s is shorter than the sample time of {} "
                                       "s: each mean is over two samples only",
                                       period, globals.sampleTime));
}

void checkName(KeyTable& program) {
  constexpr std::size_t kLongestFileName = 255;
  std::string const& name = *program.text("name");
  if (name.empty()) {
    program.warnAtValue("name", "the name is empty: no process is ever found");
  } else if (name.size() > kLongestFileName) {
    program.warnAtValue("name", fmt::format("the name is longer than that of any file, which has "
                                            "{} bytes at most: no program is found by it",
                                            kLongestFileName));
  }
}

void checkAction(KeyTable& program) {
  const std::string fault = actionFault(program);
  if (fault.empty()) return;
  const char* separator = fault.ends_with('?') ? "" : ":";
  program.warnAtValue("action", fmt::format("{}{} \"none\" holds", fault, separator));
}

void checkArguments(KeyTable& program) {
  std::string const* arguments = program.text("arguments");
  std::vector<std::string> words;
  if (arguments == nullptr || splitCommandLine(*arguments, words)) return;
  program.warnAtValue("arguments", fmt::format("`{}' ends within a quote or after a backslash: "
                                               "the program cannot be started",
                                               program.fullKey("arguments")));
}

void checkWorkingDir(KeyTable& program) {
  std::string const* folder = program.text("working_dir");
  std::error_code error;
  if (folder == nullptr || folder->empty() || std::filesystem::is_directory(*folder, error)) return;
  program.warnAtValue(
      "working_dir",
      fmt::format("`{}' is \"{}\": {}: the program cannot be started",
                  program.fullKey("working_dir"), *folder,
                  error ? error.message() : std::generic_category().message(ENOTDIR)));
}

/// Something is to be started, but nothing says what.
void checkNothingToStart(KeyTable& program, GlobalSwitches const& globals) {
  if (isRespawned(program, globals)) {
    program.warnAtKey("respawn_enabled", fmt::format("`{}' without `executable': nothing can be "
                                                     "started, which is tried at every sample",
                                                     program.fullKey("respawn_enabled")));
  }
  if (isRestarted(program)) {
    program.warnAtValue("action", fmt::format("`{}' is \"restart\" without `executable': the "
                                              "program is ended and not started again",
                                              program.fullKey("action")));
  }
}

void checkExecutable(KeyTable& program, GlobalSwitches const& globals) {
  std::string const* executable = program.text("executable");
  if (executable == nullptr || executable->empty()) {
    checkNothingToStart(program, globals);
    return;
  }
  std::string const* folder = program.text("working_dir");
  const StartableProgram started{*executable, folder != nullptr ? *folder : ""};
  if (const std::string obstacle = started.obstacle().text; !obstacle.empty()) {
    program.warnAtValue("executable",
                        fmt::format("`{}' is \"{}\": {}: the program cannot be "
                                    "started",
                                    program.fullKey("executable"), *executable, obstacle));
    return;
  }
  if (const std::string distrust = started.distrust(); !distrust.empty()) {
    program.warnAtValue("executable",
                        fmt::format("`{}' is \"{}\": {}: whoever can change it decides what the "
                                    "host starts",
                                    program.fullKey("executable"), *executable, distrust));
  }
  std::string const& name = *program.text("name");
  std::string const* arguments = program.text("arguments");
  const bool isStarted = isRespawned(program, globals) || isRestarted(program);
  if (!isStarted || started.isFoundAs(name, arguments != nullptr ? *arguments : "")) return;
  const char* result = isRespawned(program, globals)
                           ? "one more is started at every sample, for ever"
                           : "what a restart starts is not watched";
  program.warnAtValue(
      "executable",
      fmt::format("`{}' is found as \"{}\", not as \"{}\", unless it gives itself that name: {}",
                  program.fullKey("executable"), started.keptName(), name, result));
}

}  // namespace

std::string actionFault(KeyTable const& program) {
  std::string const* action = program.text("action");
  if (action == nullptr || std::ranges::find(kActions, *action) != kActions.end()) return "";
  return fmt::format("`{}' is \"{}\", which is no action{}", program.fullKey("action"), *action,
                     didYouMean(*action, {kActions.begin(), kActions.end()}, ""));
}

void checkProgram(KeyTable& program, GlobalSwitches const& globals) {
  checkName(program);
  checkAction(program);
  checkLimits(program, globals);
  checkPeriod(program, globals);
  checkArguments(program);
  checkWorkingDir(program);
  checkExecutable(program, globals);
}
