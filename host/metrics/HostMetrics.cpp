#include "host/metrics/HostMetrics.h"

#include <chrono>
#include <optional>
#include <utility>

#include "host/metrics/MetricText.h"

namespace {

using Row = MetricRow<HostMoment>;
using Value = std::optional<double>;
using enum prometheus::MetricType;

double secondsOf(std::chrono::duration<double> duration) { return duration.count(); }

Value timestamp(WallTime time) { return secondsOf(time.time_since_epoch()); }

template <class Number>
Value optionalNumber(std::optional<Number> const& number) {
  if (!number) return std::nullopt;
  return static_cast<double>(*number);
}

constexpr Row kHostRows[] = {
    {"veskd_start_time_seconds", Gauge, "When the host started, seconds since 1970.",
     [](HostMoment const& m) { return timestamp(m.facts.startedAt); }},
    {"veskd_time_seconds", Gauge,
     "The host's wall clock at this scrape, seconds since 1970; ages of other timestamps are "
     "differences from it.",
     [](HostMoment const& m) { return timestamp(m.now); }},
    {"veskd_dry_run", Gauge, "1 if the whole host only says what it would do, else 0.",
     [](HostMoment const& m) -> Value { return m.watch.dryRun; }},
    {"veskd_sample_time_seconds", Gauge, "Seconds between two passes, as configured.",
     [](HostMoment const& m) -> Value { return m.watch.globals.sampleTime; }},
    {"veskd_entries", Gauge, "Programs that are watched.",
     [](HostMoment const& m) -> Value { return m.watch.entries.size(); }},
    {"veskd_passes_total", Counter, "Passes over all entries that were begun.",
     [](HostMoment const& m) -> Value { return m.watch.pass.count; }},
    {"veskd_last_pass_timestamp_seconds", Gauge,
     "When the latest pass began, seconds since 1970 by the host's clock; absent before the first.",
     [](HostMoment const& m) -> Value {
       return m.watch.pass.begunAt ? timestamp(*m.watch.pass.begunAt) : std::nullopt;
     }},
    {"veskd_pass_duration_seconds", Gauge, "Duration of the last pass that ended, in seconds.",
     [](HostMoment const& m) -> Value { return secondsOf(m.watch.pass.last); }},
    {"veskd_pass_longest_seconds", Gauge, "Duration of the longest pass that ended, in seconds.",
     [](HostMoment const& m) -> Value { return secondsOf(m.watch.pass.longest); }},
    {"veskd_pass_under_way_seconds", Gauge,
     "For how many seconds the pass that is under way takes; 0 between passes.",
     [](HostMoment const& m) -> Value { return secondsOf(m.watch.pass.underWay); }},
    {"veskd_records_total", Counter, "Events, acts and changes that were recorded.",
     [](HostMoment const& m) -> Value { return m.records; }},
    {"veskd_os_restart_limit", Gauge,
     "Restarts of the operating system that are allowed within the window; 0 for none at all.",
     [](HostMoment const& m) -> Value { return m.restarts.limit; }},
    {"veskd_os_restarts_in_window", Gauge,
     "Restarts of the operating system that count against the limit now.",
     [](HostMoment const& m) -> Value { return m.restarts.inWindow; }},
    {"veskd_last_os_restart_timestamp_seconds", Gauge,
     "When the operating system was last restarted by this host, seconds since 1970; absent if "
     "never.",
     [](HostMoment const& m) -> Value {
       return m.restarts.past.empty() ? std::nullopt : timestamp(m.restarts.past.back().at.time);
     }},
    {"veskd_last_os_restart_refusal_timestamp_seconds", Gauge,
     "When a restart of the operating system was last refused, seconds since 1970; absent if "
     "never since the host started.",
     [](HostMoment const& m) -> Value {
       return m.restarts.lastRefusal ? timestamp(m.restarts.lastRefusal->time) : std::nullopt;
     }},
    {"process_start_time_seconds", Gauge,
     "When the watchdog's process started, seconds since 1970.",
     [](HostMoment const& m) { return timestamp(m.facts.startedAt); }},
    {"process_cpu_seconds_total", Counter,
     "Processor time that the watchdog's process has taken, user and system, in seconds.",
     [](HostMoment const& m) -> Value {
       return m.usage.processorTime ? Value(secondsOf(*m.usage.processorTime)) : std::nullopt;
     }},
    {"process_resident_memory_bytes", Gauge, "Resident memory of the watchdog's process in bytes.",
     [](HostMoment const& m) { return optionalNumber(m.usage.residentBytes); }},
    {"process_virtual_memory_bytes", Gauge, "Virtual memory of the watchdog's process in bytes.",
     [](HostMoment const& m) { return optionalNumber(m.usage.virtualBytes); }},
    {"process_open_fds", Gauge, "File descriptors that the watchdog's process has open.",
     [](HostMoment const& m) { return optionalNumber(m.usage.openDescriptors); }},
    {"process_max_fds", Gauge, "File descriptors that the watchdog's process may open.",
     [](HostMoment const& m) { return optionalNumber(m.usage.mostDescriptors); }},
};

void addChecks(Exposition& exposition, GlobalSettings const& globals) {
  const std::pair<const char*, bool> checks[] = {{"cpu", globals.cpuEnabled},
                                                 {"memory", globals.memEnabled},
                                                 {"instances", globals.instEnabled}};
  prometheus::MetricFamily family{
      "veskd_check_enabled", "1 if the check is on for the host as a whole, else 0.", Gauge, {}};
  for (auto const& [check, isEnabled] : checks) {
    family.metric.push_back(sampleOf(Gauge, isEnabled, {{"check", check}}));
  }
  exposition.add(std::move(family));
}

}  // namespace

void addHost(Exposition& exposition, HostMoment const& moment) {
  exposition.add({"veskd_build_info",
                  "1, labelled with the version of the host.",
                  Gauge,
                  {sampleOf(Gauge, 1, {{"version", labelText(moment.facts.version)}})}});
  addChecks(exposition, moment.watch.globals);
  for (Row const& row : kHostRows) {
    prometheus::MetricFamily family{row.name, row.help, row.type, {}};
    if (const Value value = row.value(moment)) family.metric.push_back(sampleOf(row.type, *value));
    exposition.add(std::move(family));
  }
}

void addCounters(Exposition& exposition,
                 std::map<std::string, unsigned long long> const& counters) {
  for (auto const& [name, value] : counters) {
    exposition.add({counterMetricName(name),
                    "External counter \"" + labelText(name) + "\" of the framework.",
                    Counter,
                    {sampleOf(Counter, static_cast<double>(value))}});
  }
}
