#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

#include "framework/PResult.h"
#include "host/watch/LimitTexts.h"
#include "host/watch/WatchView.h"

/// What the explanations of an entry read out of its view, by the watchdog's rules.

/// One of the two things that are averaged, where it stands in the views.
struct AverageCheck {
  const char* check;
  Quantity quantity;
  bool GlobalSettings::*isOnForAll;
  bool EntrySettings::*isOn;
  std::uint64_t WindowView::*average;
};

inline constexpr std::array<AverageCheck, 2> kAverageChecks = {{
    {"cpu", kCpuQuantity, &GlobalSettings::cpuEnabled, &EntrySettings::cpuEnabled,
     &WindowView::cpuAverage},
    {"memory", kMemoryQuantity, &GlobalSettings::memEnabled, &EntrySettings::memEnabled,
     &WindowView::memoryAverage},
}};

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

inline double inSeconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}
