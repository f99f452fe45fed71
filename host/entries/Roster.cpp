#include "host/entries/Roster.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "framework/PUtils.h"
#include "host/entries/EntryRequest.h"
#include "host/entries/Watchdog.h"
#include "watchdog/ProcessWatchdogResult.h"

namespace {

using Code = ApiError::Code;

ApiError noWatchdog() { return {Code::unavailable, "no watchdog plug-in is loaded"}; }

ApiError conflict(std::string const& name) {
  return {Code::conflict, fmt::format("`{}' is watched already", name)};
}

ApiResult answer(std::string const& name) { return nlohmann::json{{"name", name}}; }

void logDryRun(DryRun const& dryRun, spdlog::logger& log) {
  if (dryRun.all) {
    log.warn("dry run: nothing is ended, started or restarted");
  } else if (!dryRun.names.empty()) {
    log.warn("dry run of {}: nothing of it is ended, started or restarted",
             fmt::join(dryRun.names, ", "));
  }
}

WallTime now() { return std::chrono::floor<WallTime::duration>(std::chrono::system_clock::now()); }

}  // namespace

Roster::Roster(std::shared_ptr<WatchBoard> board, std::shared_ptr<RecordJournal> journal,
               std::shared_ptr<spdlog::logger> log)
    : fBoard(std::move(board)), fJournal(std::move(journal)), fLog(std::move(log)) {}

void Roster::holdBackFor(WatchdogFacts const& next) {
  DryRun both = fDryRun;
  both.all = both.all || next.dryRun.all;
  both.names.insert(next.dryRun.names.begin(), next.dryRun.names.end());
  fBoard->setDryRun(std::move(both));
}

void Roster::announce(WatchdogFacts facts) {
  fFacts = std::move(facts);
  fDryRun = fFacts.dryRun;
  for (auto const& [name, settings] : fAdded) {
    if (settings.dryRun && !isInFile(name)) fDryRun.names.insert(name);
  }
  logDryRun(fDryRun, *fLog);
  fBoard->beginAnew();
  fBoard->setGlobals(fFacts.globals);
  fBoard->setDryRun(fDryRun);
  for (EntrySettings const& settings : fFacts.entries) {
    fBoard->put(settings);
    fWatched.insert(settings.name);
  }
  noteWatched();
}

void Roster::refresh() {
  std::erase_if(fAdded, [this](auto const& added) { return isInFile(added.first); });
  if (const auto watchdog = obtainWatchdog(); watchdog != nullptr) {
    std::erase_if(fAdded, [&](auto const& added) {
      const int res = addEntry(*watchdog, added.second);
      if (res != 0) fLog->error("cannot watch `{}' again, res={}", added.first, res);
      return res != 0;
    });
  }
  std::set<std::string> names = fWatched;
  for (auto const& [name, settings] : fAdded) names.insert(name);
  for (std::string const& name : names) review(name);
}

void Roster::review(std::string const& name) {
  const auto watchdog = obtainWatchdog();
  auto settings = watchdog != nullptr ? settingsOf(*watchdog, name) : std::nullopt;
  if (!settings) {
    forget(name);
    return;
  }
  settings->name = name;
  settings->origin = originOf(name);
  fWatched.insert(name);
  noteWatched();
  fBoard->put(std::move(*settings));
}

void Roster::forget(std::string const& name) {
  fWatched.erase(name);
  noteWatched();
  fBoard->drop(name);
}

bool Roster::isInFile(std::string const& name) const {
  return std::ranges::find(fFacts.names, name) != fFacts.names.end();
}

EntryOrigin Roster::originOf(std::string const& name) const {
  if (fAdded.contains(name)) return EntryOrigin::control;
  return isInFile(name) ? EntryOrigin::file : EntryOrigin::plugin;
}

ApiResult Roster::add(nlohmann::json const& request) {
  auto read = readEntryRequest(request, fFacts.globals);
  if (auto* error = std::get_if<ApiError>(&read); error != nullptr) return std::move(*error);
  return add(std::get<EntrySettings>(std::move(read)));
}

ApiResult Roster::add(EntrySettings settings) {
  const std::string name = settings.name;
  const auto watchdog = obtainWatchdog();
  if (watchdog == nullptr) return noWatchdog();
  if (watchdog->containsProcess(PUtils::fromUtf8(name))) return conflict(name);
  // Before the first pass that acts upon it.
  DryRun dryRun = fDryRun;
  if (settings.dryRun) {
    dryRun.names.insert(name);
  } else {
    dryRun.names.erase(name);
  }
  fBoard->setDryRun(dryRun);
  if (const int res = addEntry(*watchdog, settings); res != 0) {
    fBoard->setDryRun(fDryRun);
    if (res == ProcessWatchdogResult::nameConflict) return conflict(name);
    return ApiError{Code::internal, fmt::format("`{}' cannot be watched, res={}", name, res)};
  }
  fDryRun = std::move(dryRun);
  fAdded[name] = std::move(settings);
  review(name);
  record(RecordKind::entryAdded, name, "is watched from now on");
  return answer(name);
}

ApiResult Roster::remove(std::string const& name) {
  const auto watchdog = obtainWatchdog();
  if (watchdog == nullptr) return noWatchdog();
  const PString id = PUtils::fromUtf8(name);
  if (!watchdog->containsProcess(id)) {
    return ApiError{Code::notFound, fmt::format("no entry `{}'", name)};
  }
  if (const int res = watchdog->removeProcessEntry(id); res != 0) {
    return ApiError{Code::internal, fmt::format("`{}' cannot be removed, res={}", name, res)};
  }
  fAdded.erase(name);
  forget(name);
  if (fDryRun.names.erase(name) > 0) fBoard->setDryRun(fDryRun);
  record(RecordKind::entryRemoved, name, "is watched no more");
  return answer(name);
}

void Roster::resolveDoubts() {
  try {
    for (std::string const& name : fBoard->doubtful()) review(name);
  } catch (std::exception const& error) {
    fLog->warn("cannot ask what is watched: {}", error.what());
  }
}

void Roster::noteWatched() {
  GlobalSettings const& globals = fFacts.globals;
  const bool isAnyOn = globals.cpuEnabled || globals.memEnabled || globals.instEnabled;
  fIsAnythingLookedFor = isAnyOn && !fWatched.empty();
}

void Roster::record(RecordKind kind, std::string const& name, const char* what) {
  WatchRecord record;
  record.time = now();
  record.kind = kind;
  record.entry = name;
  record.text = fmt::format("`{}' {}", name, what);
  fJournal->append(std::move(record));
}
