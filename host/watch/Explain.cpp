#include "host/watch/Explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "framework/PResult.h"
#include "host/watch/LimitTexts.h"

namespace {

/// One of the two things that are averaged, where it stands in the views.
struct AverageCheck {
  const char* check;
  Quantity quantity;
  bool GlobalSettings::*isOnForAll;
  bool EntrySettings::*isOn;
  std::uint64_t WindowView::*average;
};

constexpr std::array<AverageCheck, 2> kAverageChecks = {{
    {"cpu", kCpuQuantity, &GlobalSettings::cpuEnabled, &EntrySettings::cpuEnabled,
     &WindowView::cpuAverage},
    {"memory", kMemoryQuantity, &GlobalSettings::memEnabled, &EntrySettings::memEnabled,
     &WindowView::memoryAverage},
}};

double inSeconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

/// An entry, and what holds for all.
struct Subject {
  EntryView const& entry;
  EntrySettings const& settings;
  GlobalSettings const& globals;

  bool isOn(AverageCheck const& row) const { return globals.*row.isOnForAll && settings.*row.isOn; }
  std::uint64_t limitOf(AverageCheck const& row) const {
    return row.isOn == &EntrySettings::cpuEnabled ? settings.cpuLimit : settings.memLimit;
  }
  bool isReached(AverageCheck const& row, WindowView const& window) const {
    return isOn(row) && window.samples > 0 && window.*row.average >= limitOf(row);
  }
  unsigned int count() const {
    return static_cast<unsigned int>(
        std::ranges::count_if(entry.instances, [](auto const& each) { return each.counts; }));
  }
  bool isRespawned() const { return globals.instEnabled && settings.respawnEnabled; }
  bool isMissing() const { return isRespawned() && isTooFew(count(), settings.respawnLimit); }
  /// Where nobody is found, the number is only judged for a program that is to run.
  bool isCountReached() const {
    const bool isJudged = entry.findResult == PResult::ok || settings.respawnEnabled;
    return globals.instEnabled && settings.instEnabled && isJudged && !isMissing() &&
           count() >= settings.instLimit;
  }
  bool isAnyReached(InstanceView const& instance) const {
    return std::ranges::any_of(
        kAverageChecks, [&](AverageCheck const& row) { return isReached(row, instance.window); });
  }
};

std::string whyOff(bool isOnForAll, const char* what) {
  return fmt::format("the {} check is off{}", what, isOnForAll ? "" : " for all programs");
}

std::string windowText(Subject const& subject, AverageCheck const& row,
                       InstanceView const& instance, bool isReached) {
  WindowView const& window = instance.window;
  if (window.samples == 0) {
    return fmt::format("process {}: no sample yet in this window", instance.pid);
  }
  return fmt::format(
      "process {}: {} average {} of {} {} over {}; {}the window is open for {:.1f} of "
      "{:g} s",
      instance.pid, row.quantity.name, window.*row.average, subject.limitOf(row), row.quantity.unit,
      countOf(window.samples, "sample", "samples"),
      isReached ? "the limit is reached if that stays so: " : "", inSeconds(window.age),
      inSeconds(windowLength(subject.settings.period)));
}

void addAverageChecks(Subject const& subject, AverageCheck const& row,
                      std::vector<CheckView>& checks) {
  CheckView common;
  common.check = row.check;
  common.isEnabled = subject.isOn(row);
  if (!common.isEnabled) {
    common.text = whyOff(subject.globals.*row.isOnForAll, row.quantity.name);
    checks.push_back(common);
    return;
  }
  common.limit = static_cast<std::int64_t>(subject.limitOf(row));
  common.periodMs = windowLength(subject.settings.period).count();
  if (subject.entry.instances.empty()) {
    common.text = "no process to be measured";
    checks.push_back(common);
    return;
  }
  for (InstanceView const& instance : subject.entry.instances) {
    CheckView check = common;
    check.pid = instance.pid;
    check.samples = instance.window.samples;
    check.ageMs = instance.window.age.count();
    if (instance.window.samples > 0) check.average = instance.window.*row.average;
    check.isReached = subject.isReached(row, instance.window);
    check.text = windowText(subject, row, instance, check.isReached);
    checks.push_back(std::move(check));
  }
}

CheckView instanceCheck(Subject const& subject) {
  CheckView check;
  check.check = "instances";
  check.isEnabled = subject.globals.instEnabled && subject.settings.instEnabled;
  check.count = countedOf(subject.entry, subject.globals);
  check.limit = subject.settings.instLimit;
  check.isReached = subject.isCountReached();
  if (!subject.globals.instEnabled) {
    check.text = whyOff(false, "instance");
  } else if (!check.isEnabled) {
    check.text = "no limit of instances is set";
  } else {
    check.text = tooManyText(*check.count, subject.settings.instLimit);
    if (!check.isReached && *check.count >= subject.settings.instLimit) {
      check.text += subject.isMissing() ? "; not judged while some are missing"
                                        : "; not judged while no process is found";
    }
  }
  return check;
}

CheckView respawnCheck(Subject const& subject) {
  CheckView check;
  check.check = "respawn";
  check.isEnabled = subject.isRespawned();
  check.count = countedOf(subject.entry, subject.globals);
  check.isReached = subject.isMissing();
  const int limit = subject.settings.respawnLimit;
  if (limit >= 0) check.limit = limit;
  if (!check.isEnabled) {
    check.text = subject.settings.respawnEnabled ? whyOff(false, "instance")
                                                 : "the program is not started when it is missing";
  } else if (limit < 0) {
    check.text = tooFewText(*check.count, limit);
  } else {
    check.text = fmt::format("{}, at least {} wanted",
                             countOf(*check.count, "instance counts", "instances count"),
                             countOf(static_cast<std::uint64_t>(limit), "is", "are"));
  }
  return check;
}

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

/// The window that is over first of those whose averages are too high.
std::string actAtWindow(Subject const& subject) {
  InstanceView const* first = nullptr;
  for (InstanceView const& instance : subject.entry.instances) {
    if (!subject.isAnyReached(instance)) continue;
    if (first == nullptr || instance.window.age > first->window.age) first = &instance;
  }
  if (first == nullptr) return "nothing: no limit is reached";
  const auto left = windowLength(subject.settings.period) - first->window.age;
  const std::string when =
      fmt::format("when the window is over, in {:.1f} s at the soonest, if the average stays",
                  std::max(inSeconds(left), 0.0));
  return actAtLimit(subject.settings, fmt::format("process {}", first->pid), when);
}

std::string unknownAct(EntryView const& entry) {
  if (!entry.isKnown) return "not known: the settings of this entry are not known yet";
  if (!entry.lookedAt) return "not known: it was not looked for yet";
  return fmt::format("nothing: its processes cannot be listed (result {})", entry.findResult);
}

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

}  // namespace

const char* nameOf(Health health) {
  // In the order of the values.
  static constexpr std::array<const char*, 5> kNames = {"unknown", "missing", "absent", "high",
                                                        "ok"};
  return kNames.at(static_cast<std::size_t>(health));
}

std::optional<unsigned int> countedOf(EntryView const& entry, GlobalSettings const& globals) {
  const Subject subject{entry, entry.settings, globals};
  const bool isCounted =
      globals.instEnabled && (subject.settings.instEnabled || subject.settings.respawnEnabled);
  return isCounted ? std::optional(subject.count()) : std::nullopt;
}

Health healthOf(EntryView const& entry, GlobalSettings const& globals) {
  const Subject subject{entry, entry.settings, globals};
  const bool isListed = entry.findResult == PResult::ok || entry.findResult == PResult::notFound;
  if (!entry.isKnown || !entry.lookedAt || !isListed) return Health::unknown;
  if (subject.isMissing()) return Health::missing;
  if (entry.instances.empty() && !subject.isCountReached()) return Health::absent;
  const bool isHigh = subject.isCountReached() ||
                      std::ranges::any_of(entry.instances, [&](InstanceView const& instance) {
                        return subject.isAnyReached(instance);
                      });
  return isHigh ? Health::high : Health::ok;
}

Explanation explain(EntryView const& entry, GlobalSettings const& globals) {
  const Subject subject{entry, entry.settings, globals};
  Explanation explanation;
  explanation.name = entry.settings.name;
  explanation.health = healthOf(entry, globals);
  explanation.dryRun = entry.settings.dryRun;
  if (entry.isKnown) {
    for (AverageCheck const& row : kAverageChecks) {
      addAverageChecks(subject, row, explanation.checks);
    }
    explanation.checks.push_back(instanceCheck(subject));
    explanation.checks.push_back(respawnCheck(subject));
  }
  explanation.nextAct = nextAct(subject, explanation.health);
  return explanation;
}
