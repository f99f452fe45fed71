// The registry as its clients see it.

#include "tests/plugin/PluginFixture.h"

namespace {

class Registry : public PluginFixture {};

TEST_F(Registry, AddsFindsAndRemovesTheVeryObject) {
  start();
  Entry web = newEntry(L"web");
  EXPECT_EQ(service()->addProcessEntry(web.get()), 0);
  EXPECT_EQ(service()->addProcessEntry(newEntry(L"web").get()), -509);
  web->setName(L"renamed");
  EXPECT_FALSE(service()->containsProcess(L"renamed"));
  IProcessWatchdogInfo* info = nullptr;
  EXPECT_EQ(service()->getProcessInfo(L"web", info), 0);
  EXPECT_EQ(info, web.get());
  web = nullptr;  // the registry's reference keeps it
  EXPECT_EQ(info->incRef(), 2);
  EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  EXPECT_EQ(info->decRef(), 0);
  EXPECT_FALSE(service()->containsProcess(L"web"));
  const Entry unnamed = newEntry(L"");
  info = unnamed.get();
  EXPECT_EQ(service()->addProcessEntry(nullptr), -502);
  EXPECT_EQ(service()->addProcessEntry(unnamed.get()), -502);
  EXPECT_EQ(service()->removeProcessEntry(L""), -502);
  EXPECT_EQ(service()->getProcessInfo(L"", info), -502);
  EXPECT_EQ(service()->removeProcessEntry(L"web"), 0);
  EXPECT_EQ(service()->getProcessInfo(L"web", info), -509);
  EXPECT_EQ(info, unnamed.get());
  EXPECT_EQ(take("info|error|debug .(add|rem|get)"), R"(
debug [addProcessEntry] Entry with name `web' is good to add
info [addProcessEntry] Adding `web' to list of monitored processes
error [addProcessEntry] Entry with name `web' already in list
info [removeProcessEntry] Removing `web' from list of monitored processes
error [addProcessEntry] `iEntry' is NULL
error [addProcessEntry] Given entry has no name
error [removeProcessEntry] Invalid argument (empty name)
error [getProcessInfo] Invalid argument (empty name)
debug [removeProcessEntry] There's no entry named `web', ignoring
debug [getProcessInfo] Error: there's no entry named `web', ignoring
)");
}

}  // namespace
