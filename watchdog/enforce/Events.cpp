// Publishing that a limit was reached.

#include "watchdog/PProcessWatchdog.h"

int PProcessWatchdog::__sendEvent(ProcEntry const& procEntry, PLiteral const& topic,
                                  int value) const {
  if (!procEntry.entry->getShouldSendEvent()) {
    __logInfo(L"[%s] Not sending event with topic `%ls', because events are disabled",
              "__sendEvent", topic.c_str());
    return FrameworkResult::ok;
  }
  PBaseptr<PProcessWatchdogEntry> const source(procEntry.entry);
  // Empty where the lookup succeeded without an object.
  const int res =
      fEventDispatcher
          ? guarded([&] { return fEventDispatcher->postEvent(topic, source.get(), value); })
          : FrameworkResult::notFound;
  if (res != FrameworkResult::ok) {
    PString const name(procEntry.entry->name());
    __logError(L"[%s] Error sending `%ls' event for process `%ls', res=%d", "__sendEvent",
               topic.c_str(), name.c_str(), res);
  }
  return res;
}
