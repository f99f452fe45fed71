// The plug-in object and its service: start, worker thread, failures and end.

#include <memory>

#include "tests/plugin/PluginFixture.h"

namespace {

class Lifecycle : public PluginFixture {};

TEST_F(Lifecycle, TouchesNothingBeforeTheStartAndRefusesOtherIdentifiers) {
  unsigned int count = 0;
  const std::unique_ptr<PString[]> names(fPlugin->getInterfaces(count));
  ASSERT_EQ(count, 2U);
  EXPECT_TRUE(names[0] == L"com.telmor.vesk.watchdog.process");
  EXPECT_TRUE(names[1] == L"com.telmor.vesk.watchdog.process.entry");
  EXPECT_EQ(service(), nullptr);
  for (const wchar_t* id : {L"com.telmor.vesk.watchdog.Process", L""}) {
    IBase* instance = fPlugin.get();
    EXPECT_EQ(fPlugin->getInstance(id, instance), -2001);
    EXPECT_EQ(instance, nullptr);
  }
  EXPECT_EQ(take(), "");
}

TEST_F(Lifecycle, StartsTicksAndEndsInOrder) {
  config["watchdog.process.1.name"] = L"web";
  config["watchdog.process.sample_time"] = 2147483647;  // a product of 32 bits
  start();
  tick(PResult::ok);  // woken for no reason: an early tick
  EXPECT_EQ(take("(?!get|debug \\[_dump|debug \t)"), R"(
instance com.telmor.vesk.logger
init veskp.watchdog.process.log
cond init
mutex init recursive
instance com.telmor.vesk.config.manager
loadByID veskp.watchdog.process
release
release
instance com.telmor.vesk.eventdispatcher
instance com.telmor.vesk.extcounters
pcreate
debug [init] Started watchdog thread (id=0x11)
setName [PProcessWatchdog]
debug [_watchdogThreadProc] Starting process watchdog loop (current thread id = 0x22)
find web
wait 4294966296
find web
wait 4294966296
)");
  EXPECT_EQ(end(), R"(
notifyAll
debug [__stopWatchdog] Waiting for the watchdog thread to finish
pjoin
debug [_watchdogThreadProc] Thread loop finished
debug [__stopWatchdog] Detaching fWatchdogThread thread...
pdetach
debug [__stopWatchdog] Finished waiting for the watchdog thread
release
release
~PConditionalVar
~PMutex
~PThread
release
)");
}

TEST_F(Lifecycle, JoinsNoWorkerThatEndedOrNeverWasOrCannotBeNotified) {
  start();
  results = {{"notifyAll", -8}};
  EXPECT_EQ(end("notify|pjoin|error"), R"(
notifyAll
error [__stopWatchdog] Error notifying the stop conditional var, res=-8
error [~PProcessWatchdog] Error stopping the watchdog thread, res=-8
)");
  fPlugin = veskGetPlugin();
  start();
  tick(-5);
  EXPECT_EQ(take("error|debug.*finished"), R"(
error [_watchdogThreadProc] Failed to wait on conditinal var, res=-5
debug [_watchdogThreadProc] Thread loop finished
)");
  EXPECT_EQ(end("[^~r]"), "");
  fPlugin = veskGetPlugin();
  for (const char* key : {"cpu_enabled", "mem_enabled", "inst_enabled"}) {
    config["watchdog.process." + std::string(key)] = false;
  }
  start();
  EXPECT_EQ(take("info|pcreate"),
            "\ninfo [init] All monitoring disabled, not starting the thread\n");
  EXPECT_EQ(end("[^~r]"), "");
}

TEST_F(Lifecycle, ActsWhateverItsOtherServicesDo) {
  processes["web"] = {{10}};
  for (const int lookup : {int{PResult::ok}, int{PResult::notFound}, int{givesNone}}) {
    for (const char* call : {"init", "info", "error", "debug", "postEvent", "increment"}) {
      results[call] = throws;
    }
    results["kill"] = -3;
    results["instance com.telmor.vesk.logger"] = lookup;
    results["instance com.telmor.vesk.extcounters"] = lookup;
    results["instance com.telmor.vesk.eventdispatcher"] = lookup == givesNone ? lookup : 0;
    start();
    monitor({.on = "i", .action = restart});
    EXPECT_EQ(tickAfter(0, "kill|start|wait"), "\nkill 10\nstart /bin/web|-x|/srv\nwait 2000\n");
    EXPECT_EQ(service()->addProcessEntry(nullptr), -502);
  }
}

TEST_F(Lifecycle, FailedStartSaysSoAndGivesEverythingBackButWhatAClientHolds) {
  start();
  PBaseptr<IProcessWatchdog> held;
  held = service();
  const std::map<std::string, std::string> journals = {
      {"cond init", "error [init] Error initializing conditional var, res=-9\n"},
      {"mutex", "error [init] Error initializing stop mutex, res=-9\n"},
      {"instance com.telmor.vesk.config.manager",
       "error [__openConfigFile] getInstance ID_ICONFIGMANAGER err: -9\n"},
      {"loadByID",
       "error [__openConfigFile] cfgManager->loadByID(veskp.watchdog.process) err: -9\n"},
      {"instance com.telmor.vesk.eventdispatcher",
       "error [init] Error obtaining instance of IEventDispatcher, res=-9\n"},
      {"pcreate", R"(error [init] Error creating watchdog thread, res=-9
notifyAll
pjoin
error [__stopWatchdog] Error joining the watchdog thread, res=-3
error [~PProcessWatchdog] Error stopping the watchdog thread, res=-3
)"}};
  for (auto const& [call, journal] : journals) {
    results = {{call, -9}};
    EXPECT_EQ(fPlugin->init(), -9);
    EXPECT_EQ(take("(error|notify|pjoin)(?!.*(file|configuration), res=-9)"), "\n" + journal);
    EXPECT_EQ(service(), nullptr);
    EXPECT_EQ(references, 3);  // the held one's
  }
  results = {{"getInt", throwsBadAlloc}};
  EXPECT_EQ(fPlugin->init(), -12);
  EXPECT_EQ(tickAfter(0), "\nwait 2000\n");
}

}  // namespace
