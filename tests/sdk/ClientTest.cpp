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
  std::string configuration(std::string const& plugins) const {
    std::filesystem::copy_file(TEST_PROGRAM, path(fName));
    return "[host]\ncontrol_socket = 's'\nplugins = [" + plugins + "]\n" + kGlobals +
           "[client]\nname = '" + fName + "'\nexecutable = '" + path(fName) + "'\n";
  }

  /// Waits until the host tells operators of the client's entry.
  void awaitShown() const {
    while (ChildProcess({VESKCTL, "--socket", path("s"), "show", fName}).awaitEnd() != 0) {
      ::usleep(100000);
    }
  }
};

TEST_F(Client, IsServedByTheWatchdogBesideItAndLeavesNothingBehind) {
  auto veskd = run(configuration("'" WATCHDOG "', '" CLIENT "'"));
  const pid_t pid = awaitStart(*veskd, fName);
  ASSERT_GT(pid, 1) << veskd->text();
  ChildProcess second({path(fName)});
  for (int run = 0; run < 2; ++run) {  // before a reload and after it
    EXPECT_NE(veskd->awaitLine("info client: `" + fName + "' runs 2 times"), "") << veskd->text();
    awaitShown();
    veskd->signal(run == 0 ? SIGHUP : SIGTERM);
    EXPECT_NE(veskd->awaitLine("Removing `" + fName + "'"), "");
  }
  EXPECT_EQ(veskd->awaitEnd(), 0);
  EXPECT_THAT(veskd->text(), testing::Not(testing::HasSubstr(" error ")));
  EXPECT_EQ(::kill(pid, 0), 0);
}

TEST_F(Client, SaysWhatIsMissingWhenItIsListedFirst) {
  auto veskd = run(configuration("'" CLIENT "', '" WATCHDOG "'"));
  EXPECT_EQ(veskd->awaitEnd(), 69);
  EXPECT_THAT(veskd->text(), testing::HasSubstr("client: no watchdog: its library"));
}

bool isLoaded(const char* library) {
  void* const handle = ::dlopen(library, RTLD_NOW | RTLD_NOLOAD);
  return handle != nullptr && ::dlclose(handle) == 0;
}

TEST_F(Client, EndsInAnyOrderAndLibrariesStayAsLongAsTheirCodeIsNeeded) {
  fFolder.makeFile("v.toml", configuration(""));
  const CollectedLog log;
  const Services services({}, {"", std::get<TomlFile>(readTomlFile(path("v.toml")))}, log.output());
  std::string cause;
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
  fFolder.makeFile("v.toml", configuration(""));
  std::string cause;
  auto watchdog = PluginLibrary::open(WATCHDOG, cause);
  auto client = PluginLibrary::open(CLIENT, cause);
  const CollectedLog log;
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
