// The plug-in object: what it offers.

#include <memory>

#include "tests/plugin/PluginFixture.h"

namespace {

class PluginObject : public PluginFixture {};

TEST_F(PluginObject, OffersTwoInterfacesAndTouchesNothingBeforeItsStart) {
  EXPECT_EQ(fPlugin->incRef(), 2);
  EXPECT_EQ(fPlugin->decRef(), 1);
  unsigned int count = 0;
  const std::unique_ptr<PString[]> names(fPlugin->getInterfaces(count));
  const std::unique_ptr<PString[]> again(fPlugin->getInterfaces(count));
  ASSERT_EQ(count, 2U);
  EXPECT_TRUE(names[0] == L"com.telmor.vesk.watchdog.process");
  EXPECT_TRUE(names[1] == L"com.telmor.vesk.watchdog.process.entry");
  EXPECT_NE(names.get(), again.get());
  EXPECT_EQ(service(), nullptr);
  const Entry entry = newEntry(L"web");
  EXPECT_NE(entry.get(), newEntry(L"web").get());
  entry->setCpuLimit(static_cast<char>(200));
  EXPECT_EQ(static_cast<unsigned char>(entry->getCpuLimit()), 200);
  EXPECT_EQ(fFramework.take(), "");
}

TEST_F(PluginObject, RefusesOtherIdentifiersThoughStarted) {
  start();
  EXPECT_NE(service(), nullptr);
  for (const wchar_t* id : {L"com.telmor.vesk.watchdog.Process", L"com.telmor.vesk", L""}) {
    IBase* instance = fPlugin.get();
    EXPECT_EQ(fPlugin->getInstance(id, instance), -2001);
    EXPECT_EQ(instance, nullptr);
  }
}

TEST_F(PluginObject, SecondStartReplacesTheServiceUnlessItFails) {
  start();
  fFramework.take();
  start();
  EXPECT_EQ(fFramework.take({"instance com.telmor.vesk.logger", "pjoin", "cond"}, true), R"(
instance com.telmor.vesk.logger
pjoin
cond init
)");
  EXPECT_EQ(fFramework.references, 3);  // the logger, the dispatcher and the counters
  fFramework.config.erase("watchdog.process.sample_time");
  EXPECT_EQ(fPlugin->init(), -504);
  EXPECT_EQ(service(), nullptr);
  EXPECT_EQ(fFramework.references, 0);
}

TEST_F(PluginObject, ServiceOutlivesThePluginWhileAClientHoldsIt) {
  start();
  PBaseptr<IProcessWatchdog> held;
  held = service();
  EXPECT_EQ(end(), "");
  EXPECT_FALSE(held->containsProcess(L"web"));
  EXPECT_EQ(tickAfter(0), "\nwait 2000\n");
}

}  // namespace
