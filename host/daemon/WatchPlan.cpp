#include "host/daemon/WatchPlan.h"

#include <utility>

#include "host/daemon/WatchdogFile.h"

namespace {

/// The file that the watchdog reads; null where there is none.
TomlFile const* watchdogFile(HostSettings const& settings, ConfigSources const& sources) {
  if (settings.configDir.empty()) return sources.mainFile ? &*sources.mainFile : nullptr;
  const auto found = sources.files.find(watchdogFilePath(settings));
  return found != sources.files.end() ? &found->second : nullptr;
}

}  // namespace

WatchPlan planOf(HostSettings const& settings, std::optional<TomlFile> mainFile,
                 CheckedWatchdog const& watchdog) {
  WatchPlan plan{
      {settings.configDir, std::move(mainFile), reportedKeys(watchdog.findings), watchdog.files},
      {}};
  if (TomlFile const* file = watchdogFile(settings, plan.sources); file != nullptr) {
    plan.facts = readWatchdogFacts(*file);
    plan.sources.reported[file->path].merge(plan.facts.hostKeys);
  }
  plan.facts.dryRun.all = settings.dryRun;
  return plan;
}
