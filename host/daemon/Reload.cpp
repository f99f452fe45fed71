#include "host/daemon/Reload.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

namespace {

using Json = nlohmann::json;

/// Keys of the host's table that a reload applies.
constexpr std::array<std::string_view, 2> kLiveKeys = {"host.config_dir", "host.dry_run"};

ApiError refuse(std::string text) { return {ApiError::Code::refused, std::move(text)}; }

std::string linesOf(Findings const& findings) {
  std::vector<std::string> lines;
  lines.reserve(findings.size());
  for (Finding const& finding : findings) lines.push_back(lineOf(finding));
  return fmt::format("{}", fmt::join(lines, "\n"));
}

/// The lines of a text; at least one.
std::vector<std::string> linesIn(std::string const& text) {
  std::vector<std::string> lines;
  std::istringstream rest(text);
  for (std::string line; std::getline(rest, line);) lines.push_back(line);
  if (lines.empty()) lines.emplace_back();
  return lines;
}

std::set<std::string> keysOf(ConfigEntries const& left, ConfigEntries const& right) {
  std::set<std::string> keys;
  for (ConfigEntries const* entries : {&left, &right}) {
    for (auto const& [key, entry] : *entries) keys.insert(key);
  }
  return keys;
}

bool isSameEntry(ConfigEntries const& left, ConfigEntries const& right, std::string const& key) {
  const auto one = left.find(key);
  const auto other = right.find(key);
  return one != left.end() && other != right.end() &&
         isSame(one->second.value, other->second.value);
}

}  // namespace

void logFindings(Findings const& findings, spdlog::logger& log) {
  for (Finding const& finding : findings) {
    if (finding.reporter != Reporter::check) continue;
    log.warn("{}{}", atPosition(finding.file, finding.position), finding.what);
  }
}

Reload::Reload(DaemonSetup const& setup, WatchPlan plan, Parts parts)
    : fOptions(setup.options),
      fPlugins(setup.settings.plugins),
      fHost(setup.host),
      fPlan(std::move(plan)),
      fParts(parts) {}

ApiResult Reload::run() {
  tell([&] { fParts.notifier.reloading(); });
  ApiResult result = tryRun();
  if (auto* error = std::get_if<ApiError>(&result); error != nullptr && fIsLost) {
    error->code = ApiError::Code::internal;
  }
  tell([&] { finish(result); });
  if (!fIsLost) tell([&] { fParts.notifier.reloaded(); });
  return result;
}

/// What cannot be told, for want of memory, is done all the same.
void Reload::tell(std::function<void()> const& telling) const {
  try {
    telling();
  } catch (std::exception const& error) {
    fParts.log.error("cannot tell how a reload went: {}", error.what());
  }
}

ApiResult Reload::tryRun() {
  try {
    return read();
  } catch (std::exception const& error) {
    return refuse(error.what());
  }
}

ApiResult Reload::read() {
  if (fOptions.configFile.empty()) return refuse("there is no configuration file to reload");
  fParts.log.info("reloading {}", fOptions.configFile);
  auto read = readChecked(fOptions.configFile, fPlugins);
  if (auto const* failure = std::get_if<TomlFailure>(&read); failure != nullptr) {
    return refuse(failure->code == -EINVAL ? lineOf(syntaxFinding(fOptions.configFile, *failure))
                                           : failure->message);
  }
  auto& checked = std::get<CheckedFile>(read);
  Findings const& findings = checked.watchdog.findings;
  if (hasError(findings)) return refuse(linesOf(findings));
  return apply(std::move(checked));
}

ApiResult Reload::apply(CheckedFile checked) {
  logFindings(checked.watchdog.findings, fParts.checkLog);
  Json answer{{"findings", Json::parse(jsonOf(checked.watchdog.findings))},
              {"needs_restart", needRestart(checked.host)}};
  if (fOptions.dryRun) checked.settings.dryRun = true;
  WatchPlan plan = planOf(checked.settings, std::move(checked.file), checked.watchdog);
  // Where the new configuration fails, the former one is what was read of it.
  fPlan.sources.files = fParts.configuration.filesRead();
  std::string cause;
  if (restart(plan, cause)) {
    fPlan = std::move(plan);
    return answer;
  }
  if (fIsStopping) return ApiError{ApiError::Code::unavailable, cause};
  if (fIsLost) return refuse(cause);
  std::string formerCause;
  if (restart(fPlan, formerCause)) {
    return refuse(fmt::format("{}; the former configuration is in force again", cause));
  }
  if (fIsStopping) return ApiError{ApiError::Code::unavailable, formerCause};
  fIsLost = true;
  return refuse(fmt::format("{}; nor with the former configuration: {}", cause, formerCause));
}

bool Reload::restart(WatchPlan const& plan, std::string& cause) {
  try {
    return tryRestart(plan, cause);
  } catch (std::exception const& error) {
    cause = error.what();
    return false;
  }
}

/// A program that was just started takes its name in a moment, and the first pass comes
/// at once: it must not take it for missing.
/// @return false when the host is to stop meanwhile.
bool Reload::settle(WatchPlan const& plan) const {
  constexpr std::chrono::seconds kLongest{5};
  const std::chrono::microseconds pause =
      std::min(kLongest, std::chrono::seconds(plan.facts.globals.sampleTime));
  const auto age = fParts.utilities.sinceLastStart();
  return fParts.loop.pause(age && *age < pause ? pause - *age : std::chrono::microseconds(0));
}

bool Reload::tryRestart(WatchPlan const& plan, std::string& cause) {
  fParts.roster.holdBackFor(plan.facts);
  fParts.plugins.stop();
  if (const std::string held = fParts.plugins.held(); !held.empty()) {
    cause = fmt::format("{} is still held by others, so that it may still run", held);
    fIsLost = true;
    return false;
  }
  if (!settle(plan)) {
    cause = "the host is stopping";
    fIsStopping = true;
    return false;
  }
  // The first pass is a part of the start. Not sooner: the former limits must not act
  // where only the new ones may.
  fParts.roster.announce(plan.facts);
  fParts.configuration.replace(plan.sources);
  if (!fParts.plugins.start(cause)) return false;
  fParts.configuration.reportUnused();
  fParts.roster.refresh();
  return true;
}

std::vector<std::string> Reload::needRestart(ConfigEntries const& host) const {
  std::vector<std::string> keys;
  for (std::string const& key : keysOf(fHost, host)) {
    if (std::ranges::find(kLiveKeys, key) != kLiveKeys.end()) continue;
    if (!isSameEntry(fHost, host, key)) keys.push_back(key);
  }
  return keys;
}

void Reload::finish(ApiResult const& result) {
  auto const* error = std::get_if<ApiError>(&result);
  WatchRecord record;
  record.time = std::chrono::floor<WallTime::duration>(std::chrono::system_clock::now());
  record.kind = RecordKind::reload;
  record.result = error != nullptr ? -EINVAL : 0;
  if (error != nullptr) {
    const auto lines = linesIn(error->text);
    for (std::string const& line : lines) fParts.log.error("not reloaded: {}", line);
    record.text = "not reloaded: " + lines.front();
    if (lines.size() > 1) record.text += fmt::format(" (and {} more)", lines.size() - 1);
  } else {
    record.text = "reloaded " + fOptions.configFile;
    fParts.log.info(record.text);
    for (Json const& key : std::get<Json>(result)["needs_restart"]) {
      fParts.log.warn("`{}' has changed, which counts from the next start on",
                      key.get<std::string>());
    }
  }
  fParts.journal.append(std::move(record));
}
