// Reading the configuration: the store, the global keys, the list of members.

#include <array>
#include <new>
#include <utility>

#include "framework/IConfigManager.h"
#include "framework/PUtils.h"
#include "watchdog/ObtainInstance.h"
#include "watchdog/PProcessWatchdog.h"
#include "watchdog/config/Keys.h"

int PProcessWatchdog::_loadConfig() {
  PBaseptr<IConfig> config;
  int res = __openConfigFile(config);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error opening config file, res=%d", "_loadConfig", res);
    return res;
  }
  res = __loadGlobalConfig(config);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error reading global configuration for ProcessWatchdog, res=%d",
               "_loadConfig", res);
    return res;
  }
  res = __loadProcessEntries(config);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error reading process configuration for ProcessWatchdog, res=%d",
               "_loadConfig", res);
    return res;
  }
  return FrameworkResult::ok;
}

int PProcessWatchdog::__openConfigFile(PBaseptr<IConfig>& config) {
  PBaseptr<IConfigManager> cfgManager;
  int res = obtainInstance(ID_ICONFIGMANAGER, cfgManager);
  if (res == FrameworkResult::ok && !cfgManager) res = FrameworkResult::notFound;
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] getInstance ID_ICONFIGMANAGER err: %d", "__openConfigFile", res);
    return res;
  }
  res = cfgManager->loadByID(Keys::configurationId, config);
  if (res == FrameworkResult::ok && !config) res = FrameworkResult::notFound;
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] cfgManager->loadByID(%ls) err: %d", "__openConfigFile", Keys::configurationId,
               res);
  }
  return res;
}

int PProcessWatchdog::__loadGlobalConfig(PBaseptr<IConfig>& config) {
  const auto unreadable = [this](const wchar_t* key, int res) {
    __logError(L"[%s] Error reading value for key `%ls', res=%d", "__loadGlobalConfig", key, res);
    return res;
  };
  const std::array<std::pair<const wchar_t*, bool*>, 3> switches = {{
      {Keys::globalCpuEnabled, &fCpuEnabled},
      {Keys::globalMemEnabled, &fMemEnabled},
      {Keys::globalInstEnabled, &fInstEnabled},
  }};
  for (auto const& [key, target] : switches) {
    const int res = config->getBool(key, *target);
    if (res != FrameworkResult::ok) return unreadable(key, res);
  }
  int sampleTime = 0;
  const int res = config->getInt(Keys::globalSampleTime, sampleTime);
  if (res != FrameworkResult::ok) return unreadable(Keys::globalSampleTime, res);
  if (sampleTime > 0) {
    fSampleTime = sampleTime;
  } else {
    __logError(L"[%s] Invalid value %d for key `%ls', ignoring", "__loadGlobalConfig", sampleTime,
               Keys::globalSampleTime);
  }
  return FrameworkResult::ok;
}

int PProcessWatchdog::__loadProcessEntries(PBaseptr<IConfig>& config) {
  for (unsigned int index = 1;; ++index) {
    ProcEntry procEntry;
    pTake(procEntry.entry, new PProcessWatchdogEntry);
    if (__loadProcessEntryConfig(index, config, procEntry.entry) != FrameworkResult::ok) break;
    // Of two members with one name the earlier one stays.
    PString const name(procEntry.entry->name());
    fProcEntries.emplace(name, procEntry);
  }
  return FrameworkResult::ok;
}

void PProcessWatchdog::__buildProcessEntryKey(PLiteral const& prefix, unsigned int index,
                                              PLiteral const& suffix, PString& out) const {
  PString number;
  static_cast<void>(PUtils::int32ToStr(static_cast<int>(index), number));
  // A key without its number would end the list early, and nobody would know. The text
  // tells for sure: what another framework returns may be its length.
  if (number.isEmpty()) throw std::bad_alloc();
  out.clear();
  out.append(prefix);
  out.append(number);
  out.append(suffix);
}
