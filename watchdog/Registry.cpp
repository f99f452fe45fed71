// The registry of monitored entries, as clients see it.

#include "watchdog/Guarded.h"
#include "watchdog/PProcessWatchdog.h"
#include "watchdog/ProcessWatchdogResult.h"

int PProcessWatchdog::addProcessEntry(IProcessWatchdogEntry* iEntry) {
  if (iEntry == nullptr) {
    __logError(L"[%s] `iEntry' is NULL", "addProcessEntry");
    return ProcessWatchdogResult::invalidArgument;
  }
  // Entries are made by the plug-in only, and it makes them of this one class.
  return guarded([&] { return __addEntry(static_cast<PProcessWatchdogEntry*>(iEntry)); });
}

int PProcessWatchdog::__addEntry(PProcessWatchdogEntry* entry) {
  // Not through the getter, which cannot say that memory ran out.
  PString const name(entry->name());
  if (name.isEmpty()) {
    __logError(L"[%s] Given entry has no name", "addProcessEntry");
    return ProcessWatchdogResult::invalidArgument;
  }
  return __exclusively("addProcessEntry", [&] {
    if (fProcEntries.contains(name)) {
      __logError(L"[%s] Entry with name `%ls' already in list", "addProcessEntry", name.c_str());
      return ProcessWatchdogResult::nameConflict;
    }
    __logDebug(L"[%s] Entry with name `%ls' is good to add", "addProcessEntry", name.c_str());
    __logInfo(L"[%s] Adding `%ls' to list of monitored processes", "addProcessEntry", name.c_str());
    // All that needs memory comes before the entry gets a holder: giving that back would
    // end an entry that has no other.
    decltype(fProcEntries) added;
    added[name].entry = entry;
    fProcEntries.merge(added);
    return FrameworkResult::ok;
  });
}

int PProcessWatchdog::removeProcessEntry(PLiteral const& name) {
  if (name.isEmpty()) {
    __logError(L"[%s] Invalid argument (empty name)", "removeProcessEntry");
    return ProcessWatchdogResult::invalidArgument;
  }
  return __exclusively("removeProcessEntry", [&] {
    const auto found = fProcEntries.find(name);
    if (found == fProcEntries.end()) {
      __logDebug(L"[%s] There's no entry named `%ls', ignoring", "removeProcessEntry",
                 name.c_str());
      return FrameworkResult::ok;
    }
    __logInfo(L"[%s] Removing `%ls' from list of monitored processes", "removeProcessEntry",
              name.c_str());
    fProcEntries.erase(found);
    return FrameworkResult::ok;
  });
}

bool PProcessWatchdog::containsProcess(PLiteral const& name) const {
  bool contains = false;
  static_cast<void>(__exclusively("containsProcess", [&] {
    contains = fProcEntries.contains(name);
    return FrameworkResult::ok;
  }));
  return contains;
}

int PProcessWatchdog::getProcessInfo(PLiteral const& name, IProcessWatchdogInfo*& info) const {
  if (name.isEmpty()) {
    __logError(L"[%s] Invalid argument (empty name)", "getProcessInfo");
    return ProcessWatchdogResult::invalidArgument;
  }
  return __exclusively("getProcessInfo", [&] {
    const auto found = fProcEntries.find(name);
    if (found == fProcEntries.end()) {
      __logDebug(L"[%s] Error: there's no entry named `%ls', ignoring", "getProcessInfo",
                 name.c_str());
      return ProcessWatchdogResult::nameConflict;
    }
    info = found->second.entry.get();
    return FrameworkResult::ok;
  });
}
