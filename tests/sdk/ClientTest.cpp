// A component of somebody else's beside the watchdog: the example that users copy.

#include <dlfcn.h>

#include <semaphore>

#include "framework/IEventDispatcher.h"
#include "framework/PUtils.h"
#include "host/HoldRef.h"
#include "host/RefCounted.h"
#include "host/daemon/PluginLibrary.h"
#include "host/daemon/Services.h"
#include "tests/host/daemon/VeskdFixture.h"
#include "tests/host/services/CollectedLog.h"
#include "watchdog/IProcessWatchdog.h"
#include "watchdog/ObtainInstance.h"

namespace {

class Client : public VeskdFixture {
 protected:
  Client() {
    fFolder.makeFile("v.toml",
                     kGlobals + "[client]\nname = '" + fName + "'\nexecutable = '/none'\n");
  }

  std::string cause;
  const CollectedLog log;
};

bool isLoaded(const char* library) {
  void* const handle = ::dlopen(library, RTLD_NOW | RTLD_NOLOAD);
  return handle != nullptr && ::dlclose(handle) == 0;
}

TEST_F(Client, EndsInAnyOrderAndLibrariesStayAsLongAsTheirCodeIsNeeded) {
  const Services services({}, {"", std::get<TomlFile>(readTomlFile(path("v.toml")))}, log.output());
  PBaseptr<IProcessWatchdog> held;
  for (const bool isHeld : {false, true}) {
    auto watchdog = PluginLibrary::open(WATCHDOG, cause);
    auto client = PluginLibrary::open(CLIENT, cause);
    ASSERT_TRUE(watchdog != nullptr && client != nullptr) << cause;
    ASSERT_EQ(watchdog->start() + client->start(), 0) << log.text();
    obtainInstance(ID_IPROCESSWATCHDOG, held);
    IProcessWatchdogInfo* entry = nullptr;
    ASSERT_EQ(held->getProcessInfo(PUtils::fromUtf8(fName), entry), 0);
    entry->incRef();
    watchdog->stop();
    client->stop();  // has to do with a watchdog whose plug-in has ended
    EXPECT_EQ(entry->decRef(), 0) << "neither is watched any more nor held by the client";
    if (!isHeld) held = nullptr;
    watchdog->release();
    EXPECT_EQ(watchdog->isHeld(), isHeld);
    watchdog.reset();
    client.reset();
    EXPECT_TRUE(isLoaded(WATCHDOG) == isHeld && !isLoaded(CLIENT));
  }
  EXPECT_FALSE(held->containsProcess(L"none"));
}

class Gate : public RefCounted<IEventListener> {
 public:
  void onEvent(PLiteral const&, IBase*, int) override { isReached.release(), isOpen.acquire(); }

  std::binary_semaphore isReached{0}, isOpen{0};
};

// After a reload it must not look as if the former watchdog were still at work.
TEST_F(Client, LetsGoOfWhatIsOthersThoughAnEventIsOnItsWay) {
  auto watchdog = PluginLibrary::open(WATCHDOG, cause);
  auto client = PluginLibrary::open(CLIENT, cause);
  const Services services({}, {"", std::get<TomlFile>(readTomlFile(path("v.toml")))}, log.output());
  PBaseptr<IEventDispatcher> events;
  obtainInstance(ID_IEVENTDISPATCHER, events);
  const auto gate = holdRef(new Gate);
  events->subscribe(kTopicInstHigh, gate.get());  // is called before the client is
  const int holders = events->incRef();
  ASSERT_EQ(watchdog->start() + client->start(), 0) << log.text();
  events->postEvent(kTopicInstHigh, nullptr, 2);
  gate->isReached.acquire();
  client->stop();
  watchdog->stop();
  watchdog->release();
  EXPECT_EQ(events->decRef(), holders - 1);
  EXPECT_FALSE(watchdog->isHeld());
  gate->isOpen.release();
}

}  // namespace
