#include "host/watch/Explain.h"

#include <fmt/format.h>

#include <algorithm>

#include "framework/PResult.h"
#include "host/watch/LimitTexts.h"
#include "host/watch/NextAct.h"
#include "host/watch/Subject.h"

namespace {

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
