#include "host/watch/NextAct.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>

namespace {

std::string commandLine(EntrySettings const& settings) {
  return settings.arguments.empty() ? settings.executable
                                    : settings.executable + ' ' + settings.arguments;
}

constexpr const char* kHeldBack = "; the dry run holds that back";

std::string startAct(EntrySettings const& settings) {
  if (settings.executable.empty()) {
    return "nothing can be started: no executable is set; that is tried at every sample";
  }
  return fmt::format("start `{}' at {} sample{}", commandLine(settings),
                     settings.respawnLimit < 0 ? "every" : "the next",
                     settings.dryRun ? kHeldBack : "");
}

/// What a reached limit leads to. @param whom "process 99".
std::string actAtLimit(EntrySettings const& settings, std::string const& whom,
                       std::string const& when) {
  const char* heldBack = settings.dryRun ? kHeldBack : "";
  if (settings.action == "terminate") return fmt::format("end {} {}{}", whom, when, heldBack);
  if (settings.action == "osrestart") {
    return fmt::format("restart the operating system {}{}", when, heldBack);
  }
  if (settings.action == "restart" && settings.executable.empty()) {
    return fmt::format("end {} {}, and nothing can be started again: no executable is set{}", whom,
                       when, heldBack);
  }
  if (settings.action == "restart") {
    return fmt::format("end {} and start `{}' {}{}", whom, commandLine(settings), when, heldBack);
  }
  return fmt::format("{} {}, and nothing else: the action is none",
                     settings.sendEvent ? "publish an event" : "log it", when);
}

/// The window that is over first ends those of all processes, and begins them anew.
struct FirstOver {
  std::size_t index;  ///< of its process
  std::chrono::milliseconds left;
};

/// None as long as there is no window.
std::optional<FirstOver> firstOver(Subject const& subject) {
  auto const& instances = subject.entry.instances;
  std::chrono::milliseconds oldest{-1};
  for (InstanceView const& each : instances) {
    if (each.window.samples > 0) oldest = std::max(oldest, each.window.age);
  }
  // Of windows that began in the same pass, the first to be looked at is over first.
  const std::chrono::seconds sampleTime(subject.globals.sampleTime);
  const auto first = std::ranges::find_if(instances, [&](InstanceView const& each) {
    return each.window.samples > 0 && oldest - each.window.age < sampleTime;
  });
  if (first == instances.end()) return std::nullopt;
  const auto left = windowLength(subject.settings.period) - first->window.age;
  return FirstOver{static_cast<std::size_t>(first - instances.begin()),
                   std::max(left, std::chrono::milliseconds(0))};
}

/// What happens at the ends of windows. Those of an entry are over in turn, in the
/// order in which its processes are found.
std::string actAtWindow(Subject const& subject) {
  auto const& instances = subject.entry.instances;
  const auto first = firstOver(subject);
  if (!first) return "nothing: no limit is reached";
  std::size_t turns = 0;  // of others, before a process with a limit that is reached
  const auto next = [&]() -> InstanceView const& {
    return instances[(first->index + turns) % instances.size()];
  };
  while (turns < instances.size() && !subject.isAnyReached(next())) ++turns;
  if (turns == instances.size()) return "nothing: no limit is reached";
  const auto left = first->left + windowLength(subject.settings.period) * turns;
  std::string when = fmt::format(
      "when the window is over, in {:.1f} s at the soonest, if the average stays", inSeconds(left));
  if (turns > 0) {
    when += fmt::format("; its window begins anew when that of process {} is over, in {:.1f} s",
                        instances[first->index].pid, inSeconds(first->left));
  }
  if (turns > 1) {
    when += ", and then when " + countOf(turns - 1, "other window is", "other windows are");
  }
  return actAtLimit(subject.settings, fmt::format("process {}", next().pid), when);
}

std::string unknownAct(EntryView const& entry) {
  if (!entry.isKnown) return "not known: the settings of this entry are not known yet";
  if (!entry.lookedAt) return "not known: it was not looked for yet";
  return fmt::format("nothing: its processes cannot be listed (result {})", entry.findResult);
}

}  // namespace

std::string nextAct(Subject const& subject, Health health) {
  switch (health) {
    case Health::unknown:
      return unknownAct(subject.entry);
    case Health::missing:
      return startAct(subject.settings);
    case Health::absent:
      return "nothing: there is no process of that name, and none is to be started";
    default:
      break;
  }
  if (subject.isCountReached()) {
    const auto count = subject.entry.instances.size();
    const std::string whom = count == 1 ? fmt::format("process {}", subject.entry.instances[0].pid)
                                        : fmt::format("all {} processes", count);
    return actAtLimit(subject.settings, whom, "at the next sample");
  }
  const bool isAnyOn =
      std::ranges::any_of(kAverageChecks, [&](auto const& row) { return subject.isOn(row); }) ||
      subject.isRespawned() || (subject.globals.instEnabled && subject.settings.instEnabled);
  return isAnyOn ? actAtWindow(subject) : "nothing: every check of it is off";
}
