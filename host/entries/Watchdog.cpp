#include "host/entries/Watchdog.h"

#include "framework/PResult.h"
#include "framework/PUtils.h"
#include "framework/veskGetInstance.h"
#include "host/HoldRef.h"
#include "host/entries/EntrySettings.h"

namespace {

/// Looks an object up and holds it. @return its code, with `held` null on failure.
template <class Interface>
int obtain(PLiteral const& id, std::shared_ptr<Interface>& held) {
  IBase* instance = nullptr;
  const int res = veskGetInstance(id, instance);
  if (instance == nullptr) return res != PResult::ok ? res : PResult::notFound;
  held = holdRef(static_cast<Interface*>(instance));
  return PResult::ok;
}

}  // namespace

std::shared_ptr<IProcessWatchdog> obtainWatchdog() {
  std::shared_ptr<IProcessWatchdog> watchdog;
  obtain(ID_IPROCESSWATCHDOG, watchdog);
  return watchdog;
}

int addEntry(IProcessWatchdog& watchdog, EntrySettings const& settings) {
  std::shared_ptr<IProcessWatchdogEntry> entry;
  if (const int res = obtain(ID_IPROCESSWATCHDOGENTRY, entry); res != PResult::ok) return res;
  applySettings(settings, *entry);
  return watchdog.addProcessEntry(entry.get());
}

std::optional<EntrySettings> settingsOf(IProcessWatchdog const& watchdog, std::string const& name) {
  IProcessWatchdogInfo* info = nullptr;
  const int res = watchdog.getProcessInfo(PUtils::fromUtf8(name), info);
  if (res != PResult::ok || info == nullptr) return std::nullopt;
  const auto held = holdRef(info);
  return readSettings(*held);
}
