// Services that throw, against their contract: nothing passes an interface.

#include <new>
#include <stdexcept>

#include "tests/plugin/PluginFixture.h"

namespace {

void throwError() { throw std::runtime_error("a service's own"); }
void throwBadAlloc() { throw std::bad_alloc(); }

class Fault : public PluginFixture {};

TEST_F(Fault, OfAServiceIsAFailureLikeAnyOther) {
  start();
  monitor([](E& entry) { entry.setInstEnabled(true); }, L"alpha");
  monitor([](E& entry) { entry.setInstEnabled(true); });
  monitor([](E& entry) { entry.setAction(osrestart); }, L"zeta")->setInstEnabled(true);
  fFramework.processes = {{"alpha", {{10}}}, {"web", {{20}}}, {"zeta", {{30}}}};
  fFramework.raises = {{"postEvent event.watchdog.process.inst_high alpha 1", throwError},
                       {"restart", throwBadAlloc}};
  for (int tick = 0; tick < 2; ++tick) {
    EXPECT_EQ(tickAfter(0, {"find", "incr", "restart", "release", "error", "wait"}, true), R"(
find alpha
error [__sendEvent] Error sending `event.watchdog.process.inst_high' event for process `alpha', res=-1
increment wd_proc_count
find web
increment wd_proc_count
find zeta
increment wd_proc_count
restart 0
error [__restartOs] Error restaring OS, res=-12
release os restart
error [__updateEntry] Error taking instance count action for proces `zeta', res=-12
wait 2000
)");
  }
}

TEST_F(Fault, OfTheConfigurationFailsTheStart) {
  for (const char* call : {"loadByID", "getInt"}) {
    fFramework.raises = {{call, throwError}};
    EXPECT_EQ(fPlugin->init(), -1);
    fFramework.raises = {{call, throwBadAlloc}};
    EXPECT_EQ(fPlugin->init(), -12);
    EXPECT_EQ(service(), nullptr);
    EXPECT_EQ(fFramework.references, 0);
    EXPECT_EQ(fFramework.take({"error [init]"}, true), R"(
error [init] Error loading ProcessWatchdog configuration, res=-1
error [init] Error loading ProcessWatchdog configuration, res=-12
)");
  }
}

TEST_F(Fault, OfTheLoggerChangesNothingElse) {
  fFramework.raises = {
      {"init", throwError}, {"info", throwError}, {"error", throwBadAlloc}, {"debug", throwError}};
  start();
  monitor([](E& entry) {
    entry.setInstEnabled(true);
    entry.setAction(restart);
  });
  fFramework.processes["web"] = {{10}};
  fFramework.results = {{"kill", -3}};
  EXPECT_EQ(tickAfter(0, {"post", "incr", "kill", "start", "wait"}, true), R"(
postEvent event.watchdog.process.inst_high web 1
increment wd_proc_count
kill 10
start /bin/web|-x|/srv
wait 2000
)");
  EXPECT_EQ(service()->addProcessEntry(nullptr), -502);
}

}  // namespace
