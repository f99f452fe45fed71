// What no history of the watchdog's leads to: other identifiers, a second start, large limits.

#include <memory>

#include "tests/plugin/PluginFixture.h"

namespace {

class Lifecycle : public PluginFixture {
 protected:
  int meddle(std::string const& line, int result) override {
    return fRefusesNumbers && line.starts_with("getInt") ? throwsBadAlloc : result;
  }
  bool fRefusesNumbers = false;
};

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

TEST_F(Lifecycle, FailedStartLeavesWhatAClientHolds) {
  start();
  PBaseptr<IProcessWatchdog> held;
  held = service();
  fRefusesNumbers = true;
  EXPECT_EQ(fPlugin->init(), -12);
  EXPECT_EQ(service(), nullptr);
  EXPECT_EQ(references, 3);  // the held one's
  EXPECT_EQ(tickAfter(0), "\nwait 2000\n");
}

TEST_F(Lifecycle, DumpsAsMuchOfAMemoryLimitAsItsFormatHolds) {
  for (const char* key : {"cpu_enabled", "mem_enabled", "inst_enabled"}) {
    config["watchdog.process." + std::string(key)] = false;
  }
  PBaseptr<PProcessWatchdog> watchdog;
  watchdog = new PProcessWatchdog;
  constexpr unsigned long long kLimit = 5'000'000'000;
  const Entry entry = newEntry(L"large");
  entry->setMemLimit(kLimit);
  ASSERT_EQ(watchdog->init(), 0);
  ASSERT_EQ(watchdog->addProcessEntry(entry.get()), 0);
  ASSERT_EQ(watchdog->init(), 0);
  EXPECT_EQ(take("debug \twatchdog.process.1.mem_limit"),
            "\ndebug \twatchdog.process.1.mem_limit = " +
                std::to_string(static_cast<unsigned long>(kLimit)) + "\n");
}

}  // namespace
