#include "host/entries/EntrySettings.h"

#include <algorithm>

#include "framework/PUtils.h"
#include "host/check/WatchdogKeys.h"

namespace {

using TextGetter = void (IProcessWatchdogInfo::*)(PString& text) const;

std::string textOf(IProcessWatchdogInfo const& entry, TextGetter getter) {
  PString text;
  (entry.*getter)(text);
  return PUtils::toUtf8(text);
}

/// What is no action does nothing, as the first one.
std::string wordOf(ProcessWatchdogActionEnum action) {
  const auto index = static_cast<std::size_t>(action);
  return std::string(kActions[index < kActions.size() ? index : 0]);
}

ProcessWatchdogActionEnum actionOf(std::string const& word) {
  const auto* found = std::ranges::find(kActions, word);
  return found != kActions.end() ? ProcessWatchdogActionEnum(found - kActions.begin()) : none;
}

}  // namespace

EntrySettings readSettings(IProcessWatchdogInfo const& entry) {
  EntrySettings settings;
  settings.name = textOf(entry, &IProcessWatchdogInfo::getName);
  settings.period = entry.getPeriod();
  settings.cpuEnabled = entry.getCpuEnabled();
  settings.cpuLimit = static_cast<unsigned char>(entry.getCpuLimit());
  settings.memEnabled = entry.getMemEnabled();
  settings.memLimit = entry.getMemLimit();
  settings.instEnabled = entry.getInstEnabled();
  settings.instLimit = entry.getInstLimit();
  settings.respawnEnabled = entry.getRespawnEnabled();
  settings.respawnLimit = entry.getRespawnLimit();
  settings.countOnlyDiffParents = entry.getShouldCountOnlyDiffParents();
  settings.countOnlyRunning = entry.getShouldCountOnlyRunning();
  settings.sendEvent = entry.getShouldSendEvent();
  settings.action = wordOf(entry.getAction());
  settings.executable = textOf(entry, &IProcessWatchdogInfo::getExecutable);
  settings.arguments = textOf(entry, &IProcessWatchdogInfo::getArguments);
  settings.workingDir = textOf(entry, &IProcessWatchdogInfo::getWorkingDir);
  return settings;
}

void applySettings(EntrySettings const& settings, IProcessWatchdogEntry& entry) {
  entry.setName(PUtils::fromUtf8(settings.name));
  entry.setPeriod(settings.period);
  entry.setCpuEnabled(settings.cpuEnabled);
  entry.setCpuLimit(static_cast<char>(settings.cpuLimit));
  entry.setMemEnabled(settings.memEnabled);
  entry.setMemLimit(settings.memLimit);
  entry.setInstEnabled(settings.instEnabled);
  entry.setInstLimit(settings.instLimit);
  entry.setRespawnEnabled(settings.respawnEnabled);
  entry.setRespawnLimit(settings.respawnLimit);
  entry.setShouldCountOnlyDiffParents(settings.countOnlyDiffParents);
  entry.setShouldCountOnlyRunning(settings.countOnlyRunning);
  entry.setShouldSendEvent(settings.sendEvent);
  entry.setAction(actionOf(settings.action));
  entry.setExecutable(PUtils::fromUtf8(settings.executable));
  entry.setArguments(PUtils::fromUtf8(settings.arguments));
  entry.setWorkingDir(PUtils::fromUtf8(settings.workingDir));
}
