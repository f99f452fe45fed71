#include "host/control/JsonViews.h"

#include <fmt/format.h>

#include <chrono>
#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

// By the calendar and not by `time_t`, which ends in 2038 where it has 32 bits.
std::string timeText(WallTime time) {
  const auto midnight = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(midnight);
  const std::chrono::hh_mm_ss clock(time - midnight);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", int{date.year()},
                     unsigned{date.month()}, unsigned{date.day()}, clock.hours().count(),
                     clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

template <typename Value>
json orNull(std::optional<Value> const& value) {
  return value ? json(*value) : json();
}

json timeOrNull(std::optional<WallTime> const& time) {
  return time ? json(timeText(*time)) : json();
}

double inMilliseconds(std::chrono::microseconds time) {
  return static_cast<double>(time.count()) / 1000;
}

const char* nameOf(EntryOrigin origin) {
  switch (origin) {
    case EntryOrigin::file:
      return "file";
    case EntryOrigin::control:
      return "control";
    default:
      return "plugin";
  }
}

/// What is known of the instances, added up; nothing when there are some, and it is
/// known of none.
template <typename Value>
json sumOf(std::vector<InstanceView> const& instances, std::optional<Value> InstanceView::*member) {
  std::uint64_t sum = 0;
  bool isKnown = instances.empty();
  for (InstanceView const& instance : instances) {
    isKnown = isKnown || (instance.*member).has_value();
    sum += (instance.*member).value_or(0);
  }
  return isKnown ? json(sum) : json();
}

json passesJson(WatchView const& watch) {
  GlobalSettings const& globals = watch.globals;
  PassView const& pass = watch.pass;
  return {{"cpu_enabled", globals.cpuEnabled},
          {"mem_enabled", globals.memEnabled},
          {"inst_enabled", globals.instEnabled},
          {"sample_time", globals.sampleTime},
          {"passes", pass.count},
          {"last_pass_at", timeOrNull(pass.begunAt)},
          {"is_under_way", pass.isUnderWay},
          {"under_way_ms", pass.underWay.count() / 1000},
          {"last_pass_ms", inMilliseconds(pass.last)},
          {"longest_pass_ms", inMilliseconds(pass.longest)}};
}

json restartsJson(RestartState const& restarts) {
  json past = json::array();
  for (PastRestart const& restart : restarts.past) {
    past.push_back({{"time", timeText(restart.at.time)}, {"cause", restart.cause}});
  }
  json refusal;
  if (restarts.lastRefusal) {
    refusal = {{"time", timeText(restarts.lastRefusal->time)},
               {"reason", restarts.lastRefusal->reason}};
  }
  return {{"past", std::move(past)}, {"last_refusal", std::move(refusal)}};
}

json summaryJson(EntryView const& entry, GlobalSettings const& globals) {
  EntrySettings const& settings = entry.settings;
  return {{"name", settings.name},
          {"instances", entry.instances.size()},
          {"counted", orNull(countedOf(entry, globals))},
          {"cpu_percent", sumOf(entry.instances, &InstanceView::cpuPercent)},
          {"memory_kib", sumOf(entry.instances, &InstanceView::memoryKib)},
          {"action", entry.isKnown ? json(settings.action) : json()},
          {"dry_run", settings.dryRun},
          {"find_result", entry.findResult},
          {"health", nameOf(healthOf(entry, globals))}};
}

json settingsJson(EntrySettings const& settings) {
  return {{"period", settings.period},
          {"cpu_enabled", settings.cpuEnabled},
          {"cpu_limit", settings.cpuLimit},
          {"mem_enabled", settings.memEnabled},
          {"mem_limit", settings.memLimit},
          {"inst_enabled", settings.instEnabled},
          {"inst_limit", settings.instLimit},
          {"respawn_enabled", settings.respawnEnabled},
          {"respawn_limit", settings.respawnLimit},
          {"count_only_diff_parents", settings.countOnlyDiffParents},
          {"count_only_running", settings.countOnlyRunning},
          {"send_event", settings.sendEvent},
          {"action", settings.action},
          {"executable", settings.executable},
          {"arguments", settings.arguments},
          {"working_dir", settings.workingDir},
          {"dry_run", settings.dryRun}};
}

/// Without its check nothing is read for an average.
json averageOrNull(WindowView const& window, bool isRead, std::uint64_t average) {
  return isRead && window.samples > 0 ? json(average) : json();
}

json instanceJson(InstanceView const& instance, std::optional<char> state,
                  EntrySettings const& settings, GlobalSettings const& globals) {
  WindowView const& window = instance.window;
  const bool isCpuRead = globals.cpuEnabled && settings.cpuEnabled;
  const bool isMemoryRead = globals.memEnabled && settings.memEnabled;
  return {{"pid", instance.pid},
          {"parent_pid", instance.parentPid},
          {"counts", instance.counts},
          {"is_running", orNull(instance.isRunning)},
          {"state", state ? json(std::string(1, *state)) : json()},
          {"cpu_percent", orNull(instance.cpuPercent)},
          {"memory_kib", orNull(instance.memoryKib)},
          {"window",
           {{"samples", window.samples},
            {"age_ms", window.age.count()},
            {"cpu_average", averageOrNull(window, isCpuRead, window.cpuAverage)},
            {"memory_average", averageOrNull(window, isMemoryRead, window.memoryAverage)}}}};
}

json totalsJson(EntryTotals const& totals) {
  return {{"events", totals.events},
          {"kills", totals.kills},
          {"failed_kills", totals.failedKills},
          {"starts", totals.starts},
          {"failed_starts", totals.failedStarts},
          {"os_restarts", totals.osRestarts},
          {"refused_os_restarts", totals.refusedOsRestarts},
          {"would_haves", totals.wouldHaves}};
}

json processJson(NamedProcess const& process) {
  return {{"pid", process.pid},
          {"parent_pid", process.parentPid},
          {"comm", process.comm},
          {"command", process.command},
          {"state", std::string(1, process.state)}};
}

/// One check; what has no meaning for its kind is left out.
json checkJson(CheckView const& check) {
  json view = {{"check", check.check},
               {"is_enabled", check.isEnabled},
               {"limit", orNull(check.limit)},
               {"is_reached", check.isReached},
               {"text", check.text}};
  if (check.check == "instances" || check.check == "respawn") {
    view["count"] = orNull(check.count);
    return view;
  }
  if (check.pid) view["pid"] = *check.pid;
  view["average"] = orNull(check.average);
  view["samples"] = orNull(check.samples);
  view["age_ms"] = orNull(check.ageMs);
  view["period_ms"] = orNull(check.periodMs);
  return view;
}

}  // namespace

json statusJson(ControlSources const& sources, std::chrono::milliseconds uptime) {
  const WatchView watch = sources.watch();
  HostFacts const& facts = sources.facts;
  json entries = json::array();
  for (EntryView const& entry : watch.entries) {
    entries.push_back(summaryJson(entry, watch.globals));
  }
  return {{"version", facts.version},
          {"pid", facts.pid},
          {"started_at", timeText(facts.startedAt)},
          {"uptime_ms", uptime.count()},
          {"dry_run", watch.dryRun},
          {"config_file", facts.configFile.empty() ? json() : json(facts.configFile)},
          {"plugins", facts.plugins},
          {"watchdog", passesJson(watch)},
          {"counters", sources.counters()},
          {"restarts", restartsJson(sources.restarts())},
          {"entries", std::move(entries)}};
}

json entryJson(EntryView const& entry, GlobalSettings const& globals, StateOf const& stateOf) {
  std::string const& name = entry.settings.name;
  json instances = json::array();
  for (InstanceView const& instance : entry.instances) {
    instances.push_back(
        instanceJson(instance, stateOf(instance.pid, name), entry.settings, globals));
  }
  return {{"name", name},
          {"origin", nameOf(entry.settings.origin)},
          {"settings", entry.isKnown ? settingsJson(entry.settings) : json()},
          {"looked_at", timeOrNull(entry.lookedAt)},
          {"find_result", entry.findResult},
          {"counted", orNull(countedOf(entry, globals))},
          {"health", nameOf(healthOf(entry, globals))},
          {"instances", std::move(instances)},
          {"totals", totalsJson(entry.totals)}};
}

json recordJson(WatchRecord const& record) {
  return {
      {"number", record.number},     {"time", timeText(record.time)},
      {"kind", nameOf(record.kind)}, {"entry", record.entry.empty() ? json() : json(record.entry)},
      {"pid", orNull(record.pid)},   {"value", orNull(record.value)},
      {"result", record.result},     {"would_have", record.wouldHave},
      {"text", record.text}};
}

json explanationJson(Explanation const& explanation) {
  json checks = json::array();
  for (CheckView const& check : explanation.checks) checks.push_back(checkJson(check));
  return {{"name", explanation.name},
          {"health", nameOf(explanation.health)},
          {"dry_run", explanation.dryRun},
          {"checks", std::move(checks)},
          {"next_act", explanation.nextAct}};
}

json matchesJson(std::string const& name, NameMatches const& matches) {
  json found = json::array();
  for (NamedProcess const& process : matches.matches) found.push_back(processJson(process));
  json near = json::array();
  for (NearMiss const& miss : matches.nearMisses) {
    near.push_back(processJson(miss.process));
    near.back()["why"] = miss.why;
  }
  return {{"name", name},
          {"matches", std::move(found)},
          {"near_misses", std::move(near)},
          {"near_misses_left_out", matches.leftOut}};
}

json errorJson(const char* code, std::string const& text) {
  return {{"error", {{"code", code}, {"text", text}}}};
}

std::string textOf(json const& view) {
  return view.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
