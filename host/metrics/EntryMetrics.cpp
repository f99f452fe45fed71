#include "host/metrics/EntryMetrics.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "framework/PResult.h"
#include "host/metrics/MetricText.h"
#include "host/watch/Explain.h"

namespace {

using Value = std::optional<double>;
using enum prometheus::MetricType;

constexpr double kBytesPerKib = 1024;
constexpr double kPercent = 0.01;

/// The readings of all instances together.
struct Readings {
  Value sum;  ///< nothing without any reading
  Value most;

  void add(double reading) {
    sum = sum.value_or(0) + reading;
    most = std::max(most.value_or(reading), reading);
  }
};

/// An entry, and what its metrics are made of.
struct Subject {
  std::string label;
  EntryView const& entry;
  GlobalSettings const& globals;
  Readings cpu;     ///< in cores
  Readings memory;  ///< in bytes

  bool wasLookedAt() const { return entry.lookedAt.has_value(); }
  bool wasSeen() const {
    return wasLookedAt() &&
           (entry.findResult == PResult::ok || entry.findResult == PResult::notFound);
  }
};

Subject subjectOf(EntryView const& entry, GlobalSettings const& globals) {
  Subject subject{labelText(entry.settings.name), entry, globals, {}, {}};
  for (InstanceView const& instance : entry.instances) {
    if (instance.cpuPercent) subject.cpu.add(*instance.cpuPercent * kPercent);
    if (instance.memoryKib) {
      subject.memory.add(static_cast<double>(*instance.memoryKib) * kBytesPerKib);
    }
  }
  return subject;
}

/// The value where the condition holds.
Value onlyIf(bool condition, double value) { return condition ? Value(value) : std::nullopt; }

template <std::uint64_t EntryTotals::*total>
Value totalOf(Subject const& s) {
  return static_cast<double>(s.entry.totals.*total);
}

constexpr MetricRow<Subject> kEntryRows[] = {
    {"veskd_entry_look_success", Gauge,
     "1 if the process table could be read at the last look for the entry, else 0; absent before "
     "the first.",
     [](Subject const& s) { return onlyIf(s.wasLookedAt(), s.wasSeen()); }},
    {"veskd_entry_instances", Gauge, "Processes found under the name; absent if unknown.",
     [](Subject const& s) {
       return onlyIf(s.wasSeen(), static_cast<double>(s.entry.instances.size()));
     }},
    {"veskd_entry_counted_instances", Gauge,
     "Processes that count as instances by the rules of the entry; only if respawn or the check of "
     "instances is on; absent if unknown.",
     [](Subject const& s) -> Value {
       const auto counted = countedOf(s.entry, s.globals);
       return s.wasSeen() && counted ? Value(*counted) : std::nullopt;
     }},
    {"veskd_entry_cpu_ratio", Gauge,
     "Processor time of all instances at the last reading, 1 for one core; absent without a "
     "reading.",
     [](Subject const& s) { return s.cpu.sum; }},
    {"veskd_entry_cpu_max_ratio", Gauge,
     "The same of the instance that takes most; each instance is held to the limit alone.",
     [](Subject const& s) { return s.cpu.most; }},
    {"veskd_entry_memory_bytes", Gauge,
     "Resident memory of all instances at the last reading in bytes; absent without a reading.",
     [](Subject const& s) { return s.memory.sum; }},
    {"veskd_entry_memory_max_bytes", Gauge,
     "The same of the instance that takes most; each instance is held to the limit alone.",
     [](Subject const& s) { return s.memory.most; }},
    {"veskd_entry_cpu_limit_ratio", Gauge,
     "Limit of the mean of each instance over the window, 1 for one core; only if the check is "
     "on.",
     [](Subject const& s) {
       auto const& settings = s.entry.settings;
       return onlyIf(settings.cpuEnabled && s.globals.cpuEnabled, settings.cpuLimit * kPercent);
     }},
    {"veskd_entry_memory_limit_bytes", Gauge,
     "Limit of the mean of each instance over the window in bytes; only if the check is on.",
     [](Subject const& s) {
       auto const& settings = s.entry.settings;
       return onlyIf(settings.memEnabled && s.globals.memEnabled,
                     static_cast<double>(settings.memLimit) * kBytesPerKib);
     }},
    {"veskd_entry_instance_limit", Gauge,
     "Number of counted instances that is already too many; only if the check is on.",
     [](Subject const& s) {
       auto const& settings = s.entry.settings;
       return onlyIf(settings.instEnabled && s.globals.instEnabled, settings.instLimit);
     }},
    {"veskd_entry_respawn_limit", Gauge,
     "Least number of counted instances, below which one is started; only if respawn is on; +Inf "
     "if one is started at every pass.",
     [](Subject const& s) {
       auto const& settings = s.entry.settings;
       return onlyIf(settings.respawnEnabled && s.globals.instEnabled,
                     settings.respawnLimit < 0 ? std::numeric_limits<double>::infinity()
                                               : settings.respawnLimit);
     }},
    {"veskd_entry_dry_run", Gauge, "1 if the entry's acts are only said, not done, else 0.",
     [](Subject const& s) -> Value { return s.entry.settings.dryRun; }},
    {"veskd_entry_events_total", Counter, "Events at limits that were published.",
     totalOf<&EntryTotals::events>},
    {"veskd_entry_kills_total", Counter, "Processes that were asked to end.",
     totalOf<&EntryTotals::kills>},
    {"veskd_entry_failed_kills_total", Counter, "Processes that could not be asked to end.",
     totalOf<&EntryTotals::failedKills>},
    {"veskd_entry_starts_total", Counter, "Instances that were started.",
     totalOf<&EntryTotals::starts>},
    {"veskd_entry_failed_starts_total", Counter, "Instances that could not be started.",
     totalOf<&EntryTotals::failedStarts>},
    {"veskd_entry_os_restarts_total", Counter,
     "Restarts of the operating system that the entry brought about.",
     totalOf<&EntryTotals::osRestarts>},
    {"veskd_entry_refused_os_restarts_total", Counter,
     "Restarts of the operating system that the entry asked for in vain.",
     totalOf<&EntryTotals::refusedOsRestarts>},
    {"veskd_entry_would_haves_total", Counter, "Acts of any kind that a dry run held back.",
     totalOf<&EntryTotals::wouldHaves>},
};

void addHealth(Exposition& exposition, std::vector<Subject> const& subjects) {
  prometheus::MetricFamily family{"veskd_entry_health",
                                  "State of the entry: 1 for the one that holds, 0 for the others.",
                                  Gauge,
                                  {}};
  for (Subject const& subject : subjects) {
    const Health current = healthOf(subject.entry, subject.globals);
    for (const Health health :
         {Health::ok, Health::high, Health::absent, Health::missing, Health::unknown}) {
      family.metric.push_back(sampleOf(Gauge, current == health,
                                       {{"entry", subject.label}, {"health", nameOf(health)}}));
    }
  }
  exposition.add(std::move(family));
}

}  // namespace

void addEntries(Exposition& exposition, WatchView const& view) {
  std::vector<Subject> subjects;
  for (EntryView const& entry : view.entries) subjects.push_back(subjectOf(entry, view.globals));
  for (auto const& row : kEntryRows) {
    prometheus::MetricFamily family{row.name, row.help, row.type, {}};
    for (Subject const& subject : subjects) {
      const Value value = row.value(subject);
      if (value) {
        family.metric.push_back(sampleOf(row.type, *value, {{"entry", subject.label}}));
      }
    }
    exposition.add(std::move(family));
  }
  addHealth(exposition, subjects);
}
