// The registry as its clients see it.

#include <thread>

#include "tests/plugin/PluginFixture.h"

namespace {

class Registry : public PluginFixture {
 protected:
  void SetUp() override {
    start();
    fFramework.take();
  }
};

TEST_F(Registry, AddsFindsAndRemovesTheVeryObject) {
  Entry web = newEntry(L"web");
  EXPECT_EQ(service()->addProcessEntry(web.get()), 0);
  EXPECT_EQ(web->incRef(), 3);  // the client, the registry and this one
  EXPECT_EQ(web->decRef(), 2);
  EXPECT_EQ(service()->addProcessEntry(newEntry(L"web").get()), -509);
  EXPECT_EQ(service()->addProcessEntry(newEntry(L"Web").get()), 0);
  web->setName(L"renamed");
  web->setPeriod(9);
  EXPECT_TRUE(service()->containsProcess(L"web"));
  EXPECT_FALSE(service()->containsProcess(L"renamed"));
  IProcessWatchdogInfo* info = nullptr;
  EXPECT_EQ(service()->getProcessInfo(L"web", info), 0);
  EXPECT_EQ(info, web.get());
  web = nullptr;  // the registry's reference keeps it
  EXPECT_EQ(info->getPeriod(), 9U);
  EXPECT_EQ(info->incRef(), 2);
  EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  EXPECT_EQ(info->decRef(), 0);
  EXPECT_FALSE(service()->containsProcess(L"web"));
  EXPECT_TRUE(service()->containsProcess(L"Web"));
  EXPECT_EQ(fFramework.take(), R"(
debug [addProcessEntry] Entry with name `web' is good to add
info [addProcessEntry] Adding `web' to list of monitored processes
error [addProcessEntry] Entry with name `web' already in list
debug [addProcessEntry] Entry with name `Web' is good to add
info [addProcessEntry] Adding `Web' to list of monitored processes
info [removeProcessEntry] Removing `web' from list of monitored processes
)");
}

TEST_F(Registry, RefusesWhatHasNoNameWithoutTheLock) {
  const Entry unnamed = newEntry(L"");
  IProcessWatchdogInfo* info = unnamed.get();
  const int locks = fFramework.locks;
  EXPECT_EQ(service()->addProcessEntry(nullptr), -502);
  EXPECT_EQ(service()->addProcessEntry(unnamed.get()), -502);
  EXPECT_EQ(service()->removeProcessEntry(L""), -502);
  EXPECT_EQ(service()->getProcessInfo(L"", info), -502);
  EXPECT_EQ(fFramework.locks, locks);
  EXPECT_FALSE(service()->containsProcess(L""));
  EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  EXPECT_EQ(service()->getProcessInfo(L"web", info), -509);
  EXPECT_EQ(fFramework.locks, locks + 3);
  EXPECT_EQ(info, unnamed.get());
  EXPECT_EQ(fFramework.take(), R"(
error [addProcessEntry] `iEntry' is NULL
error [addProcessEntry] Given entry has no name
error [removeProcessEntry] Invalid argument (empty name)
error [getProcessInfo] Invalid argument (empty name)
debug [removeProcessEntry] There's no entry named `web', ignoring
debug [getProcessInfo] Error: there's no entry named `web', ignoring
)");
}

TEST_F(Registry, ServesClientsWhileTicksRun) {
  constexpr int kRounds = 200;
  const auto client = [this](const wchar_t* name) {
    IProcessWatchdog* const watchdog = service();
    for (int round = 0; round < kRounds; ++round) {
      Entry entry = newEntry(name);
      entry->setCpuEnabled(true);
      EXPECT_EQ(watchdog->addProcessEntry(entry.get()), 0);
      EXPECT_TRUE(watchdog->containsProcess(name));
      IProcessWatchdogInfo* info = nullptr;
      EXPECT_EQ(watchdog->getProcessInfo(name, info), 0);
      EXPECT_EQ(info, entry.get());
      entry = nullptr;
      EXPECT_EQ(watchdog->removeProcessEntry(name), 0);
    }
  };
  fFramework.processes = {{"one", {{10, 1, 90}}}, {"two", {{20, 1, 90}}}};
  std::thread one(client, L"one");
  std::thread two(client, L"two");
  for (int round = 0; round < kRounds; ++round) tickAfter(1000);
  one.join();
  two.join();
  EXPECT_FALSE(service()->containsProcess(L"one") || service()->containsProcess(L"two"));
}

}  // namespace
