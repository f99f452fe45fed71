#include "host/daemon/WatchPlan.h"

#include <utility>

WatchPlan planOf(HostSettings const& settings, std::optional<TomlFile> mainFile,
                 Findings const& findings) {
  WatchPlan plan{{settings.configDir, std::move(mainFile), reportedKeys(findings)}, {}};
  if (const auto file = watchdogFile(settings, plan.sources.mainFile)) {
    plan.facts = readWatchdogFacts(*file);
    plan.sources.reported[file->path].merge(plan.facts.hostKeys);
  }
  plan.facts.dryRun.all = settings.dryRun;
  return plan;
}
