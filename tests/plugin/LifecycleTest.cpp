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

TEST_F(Lifecycle, StartsNoWorkerWithoutMonitoring) {
  for (const char* key : {"cpu_enabled", "mem_enabled", "inst_enabled"}) {
    config["watchdog.process." + std::string(key)] = false;
  }
  start();
  EXPECT_EQ(take("info|pcreate"),
            "\ninfo [init] All monitoring disabled, not starting the thread\n");
  EXPECT_EQ(end("[^~r]"), "");
}

TEST_F(Lifecycle, FailedStartLeavesWhatAClientHolds) {
  start();
  PBaseptr<IProcessWatchdog> held;
  held = service();
  results = {{"getInt", throwsBadAlloc}};
  EXPECT_EQ(fPlugin->init(), -12);
  EXPECT_EQ(service(), nullptr);
  EXPECT_EQ(references, 3);  // the held one's
  EXPECT_EQ(tickAfter(0), "\nwait 2000\n");
}

}  // namespace
