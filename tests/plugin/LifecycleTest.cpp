// The service's start, its worker thread and its end.

#include "tests/plugin/PluginFixture.h"

namespace {

class Lifecycle : public PluginFixture {
 protected:
  static constexpr char kEndWithoutThread[] =
      "\nrelease counters\nrelease event dispatcher\nrelease logger\n";
};

TEST_F(Lifecycle, StartsTicksAndEndsInOrder) {
  fFramework.config["watchdog.process.1.name"] = L"web";
  start();
  fFramework.tick(PResult::timedOut);
  fFramework.tick(PResult::ok);  // woken for no reason: an early tick
  EXPECT_EQ(fFramework.take({"getBool", "getInt", "getString", "debug [_dump", "debug \t"}), R"(
instance com.telmor.vesk.logger
init veskp.watchdog.process.log
cond init
mutex init 1
instance com.telmor.vesk.config.manager
loadByID veskp.watchdog.process
release config manager
release config
instance com.telmor.vesk.eventdispatcher
instance com.telmor.vesk.extcounters
pcreate
debug [init] Started watchdog thread (id=0x11)
setName [PProcessWatchdog]
debug [_watchdogThreadProc] Starting process watchdog loop (current thread id = 0x22)
find web
wait 2000
find web
wait 2000
find web
wait 2000
)");
  EXPECT_EQ(end({}), R"(
notifyAll
debug [__stopWatchdog] Waiting for the watchdog thread to finish
pjoin
debug [_watchdogThreadProc] Thread loop finished
debug [__stopWatchdog] Detaching fWatchdogThread thread...
pdetach
debug [__stopWatchdog] Finished waiting for the watchdog thread
release counters
release event dispatcher
~PConditionalVar
~PMutex
~PThread
release logger
)");
}

TEST_F(Lifecycle, FailedWaitEndsTheWorkerForGood) {
  start();
  fFramework.take();
  fFramework.tick(-5);
  EXPECT_EQ(fFramework.take(), R"(
error [_watchdogThreadProc] Failed to wait on conditinal var, res=-5
debug [_watchdogThreadProc] Thread loop finished
)");
  EXPECT_FALSE(service()->containsProcess(L"web"));
  EXPECT_EQ(end(), kEndWithoutThread);
}

TEST_F(Lifecycle, StartsAThreadUnlessAllMonitoringIsOff) {
  fFramework.config["watchdog.process.cpu_enabled"] = false;
  fFramework.config["watchdog.process.mem_enabled"] = false;
  start();
  EXPECT_EQ(fFramework.take({"info", "pcreate"}, true), "\npcreate\n");
  fFramework.config["watchdog.process.inst_enabled"] = false;
  start();
  EXPECT_EQ(fFramework.take({"info", "pcreate"}, true),
            "\ninfo [init] All monitoring disabled, not starting the thread\n");
  monitor([](E&) {});
  EXPECT_TRUE(service()->containsProcess(L"web"));
  EXPECT_EQ(end(), kEndWithoutThread);
}

TEST_F(Lifecycle, WaitsForTheSampleTimeIn32Bits) {
  for (auto const& [seconds, wait] : std::map<int, const char*>{
           {1, "\nwait 1000\n"}, {4294968, "\nwait 704\n"}, {2147483647, "\nwait 4294966296\n"}}) {
    fFramework.config["watchdog.process.sample_time"] = seconds;
    start();
    EXPECT_EQ(fFramework.take({"wait"}, true), wait);
  }
}

TEST_F(Lifecycle, WorksWithoutCountersAndWithADispatcherThatIsNone) {
  fFramework.results["instance com.telmor.vesk.extcounters"] = -77;
  fFramework.services["com.telmor.vesk.eventdispatcher"] = nullptr;
  start();
  EXPECT_EQ(fFramework.take({"error", "pcreate"}, true), R"(
error [init] Error obtaining instance of IExtCounters, res=-77
pcreate
)");
  fFramework.processes["web"] = {{10}};
  monitor([](E& entry) {
    entry.setInstEnabled(true);
    entry.setAction(terminate);
  });
  EXPECT_EQ(tickAfter(0, {"postEvent", "increment", "kill"}, true), "\nkill 10\n");
}

TEST_F(Lifecycle, WithoutALoggerDoesEverythingAndSaysNothing) {
  fFramework.services["com.telmor.vesk.logger"] = nullptr;
  for (const int lookup : {PResult::ok, PResult::notFound}) {
    fFramework.results = {{"instance com.telmor.vesk.logger", lookup}, {"kill", -3}, {"start", -2}};
    start();
    fFramework.processes["web"] = {{10}};
    monitor([](E& entry) {
      entry.setInstEnabled(true);
      entry.setAction(restart);
    });
    EXPECT_EQ(tickAfter(0, kReadings), R"(
postEvent event.watchdog.process.inst_high web 1
increment wd_proc_count
kill 10
start /bin/web|-x|/srv
)");
    EXPECT_EQ(service()->addProcessEntry(nullptr), -502);
  }
  EXPECT_EQ(end(), "\nnotifyAll\npjoin\npdetach\nrelease counters\nrelease event dispatcher\n");
}

TEST_F(Lifecycle, FailedStartSaysSoAndGivesEverythingBack) {
  const struct {
    std::map<std::string, int> results;
    const char* journal;
  } rows[] = {{{{"cond init", -9}}, R"(
error [init] Error initializing conditional var, res=-9
)"},
              {{{"mutex init 1", -9}}, R"(
error [init] Error initializing stop mutex, res=-9
)"},
              {{{"instance com.telmor.vesk.config.manager", -9}}, R"(
error [__openConfigFile] getInstance ID_ICONFIGMANAGER err: -9
error [_loadConfig] Error opening config file, res=-9
error [init] Error loading ProcessWatchdog configuration, res=-9
)"},
              {{{"loadByID", -9}}, R"(
error [__openConfigFile] cfgManager->loadByID(veskp.watchdog.process) err: -9
error [_loadConfig] Error opening config file, res=-9
error [init] Error loading ProcessWatchdog configuration, res=-9
)"},
              {{{"instance com.telmor.vesk.eventdispatcher", -9}}, R"(
error [init] Error obtaining instance of IEventDispatcher, res=-9
)"},
              {{{"pcreate", -9}}, R"(
pcreate
error [init] Error creating watchdog thread, res=-9
notifyAll
pjoin
error [__stopWatchdog] Error joining the watchdog thread, res=-3
error [~PProcessWatchdog] Error stopping the watchdog thread, res=-3
)"},
              {{{"pcreate", -9}, {"notifyAll", -8}}, R"(
pcreate
error [init] Error creating watchdog thread, res=-9
notifyAll
error [__stopWatchdog] Error notifying the stop conditional var, res=-8
error [~PProcessWatchdog] Error stopping the watchdog thread, res=-8
)"}};
  for (auto const& row : rows) {
    fFramework.results = row.results;
    EXPECT_EQ(fPlugin->init(), -9);
    EXPECT_EQ(fFramework.take({"error", "pcreate", "notify", "pjoin"}, true), row.journal);
    EXPECT_EQ(service(), nullptr);
    EXPECT_EQ(fFramework.references, 0);
  }
}

}  // namespace
