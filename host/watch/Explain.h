#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/watch/WatchView.h"

/// How an entry fares; the worst that holds.
enum class Health {
  unknown,  ///< not looked at yet, or not to be told
  missing,  ///< fewer instances than are wanted
  absent,   ///< no instance, and none is to be started
  high,     ///< a limit is reached, by the averages so far or by the count
  ok,
};

/// The word for it in the API.
const char* nameOf(Health health);

/// One check of an entry. A number that has no meaning for it is not there.
struct CheckView {
  std::string check;  ///< "cpu", "memory", "instances" or "respawn"
  std::optional<unsigned int> pid;
  bool isEnabled = false;
  std::optional<std::uint64_t> average;  ///< of CPU or memory; none without a sample
  std::optional<unsigned int> count;     ///< of instances
  std::optional<std::int64_t> limit;
  std::optional<unsigned int> samples;
  std::optional<std::int64_t> ageMs;
  std::optional<std::int64_t> periodMs;
  bool isReached = false;
  std::string text;  ///< what has not happened yet, and why
};

struct Explanation {
  std::string name;
  Health health = Health::unknown;
  bool dryRun = false;
  std::vector<CheckView> checks;
  std::string nextAct;  ///< a sentence
};

/// How many instances count; nothing where no check of theirs is on, so that the
/// watchdog does not count them.
std::optional<unsigned int> countedOf(EntryView const& entry, GlobalSettings const& globals);

Health healthOf(EntryView const& entry, GlobalSettings const& globals);

/// What the watchdog makes of an entry, and what comes next.
/// @param entry with `dryRun` of its settings as it holds.
Explanation explain(EntryView const& entry, GlobalSettings const& globals);
