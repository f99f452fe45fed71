// Has the watchdog keep a program running that only this component knows of, and hears
// of it when the program runs more than once. Everything up to `onEvent` happens on the
// host's main thread.

#include "Component.h"

class Client : public Counted<IEventListener> {
 public:
  int start() {
    PBaseptr<IConfigManager> configurations;
    PBaseptr<IConfig> own;
    PBaseptr<IProcessWatchdog> watchdog;
    PString executable;
    obtainInstance(ID_ILOGGER, fLog);
    obtainInstance(ID_ICONFIGMANAGER, configurations);
    obtainInstance(ID_IEVENTDISPATCHER, fEvents);
    obtainInstance(ID_IPROCESSWATCHDOG, watchdog);
    obtainInstance(ID_IPROCESSWATCHDOGENTRY, fEntry);
    if (!fLog || !configurations || !fEvents) return PResult::notFound;
    fLog->init(L"client");
    if (!watchdog || !fEntry) return fail(L"no watchdog: its library has to be listed first");
    if (configurations->loadByID(L"client", own) != PResult::ok ||
        own->getString(L"client.name", fName) != PResult::ok ||
        own->getString(L"client.executable", executable) != PResult::ok)
      return fail(L"`client.name' and `client.executable' have to be configured");

    fEntry->setName(fName);
    fEntry->setExecutable(executable);
    fEntry->setRespawnEnabled(true);  // fewer than one: is started
    fEntry->setRespawnLimit(1);
    fEntry->setInstEnabled(true);  // two: an event says so
    fEntry->setInstLimit(2);
    if (fEvents->subscribe(kTopicInstHigh, this) != PResult::ok ||
        watchdog->addProcessEntry(fEntry.get()) != PResult::ok)
      return fail(L"the program cannot be watched");
    fWatchdog = watchdog;  // now there is something to take back
    fLog->info(0, L"`%ls' is watched", fName.c_str());
    return PResult::ok;
  }

  /// After any start, also one that failed halfway.
  void stop() {
    IProcessWatchdogInfo* watched = nullptr;
    if (fEvents) fEvents->unsubscribe(kTopicInstHigh, this);
    if (fWatchdog && fWatchdog->getProcessInfo(fName, watched) == PResult::ok &&
        watched == fEntry.get())  // and not another's of the same name
      fWatchdog->removeProcessEntry(fName);
    fWatchdog = nullptr;  // nothing of others' is kept
    fEvents = nullptr;    // but what `onEvent` uses: a last event may be under way
  }

  /// On the dispatcher's thread, for the programs of everybody.
  void onEvent(PLiteral const&, IBase* source, int value) override {
    if (source == fEntry.get()) fLog->info(0, L"`%ls' runs %d times", fName.c_str(), value);
  }

 private:
  int fail(const wchar_t* why) {
    fLog->error(0, L"%ls", why);
    return PResult::failed;
  }

  PBaseptr<ILogger> fLog;
  PBaseptr<IEventDispatcher> fEvents;
  PBaseptr<IProcessWatchdog> fWatchdog;
  PBaseptr<IProcessWatchdogEntry> fEntry;
  PString fName;
};

VESK_API IPlugin* veskGetPlugin() { return new (std::nothrow) Plugin<Client>; }
