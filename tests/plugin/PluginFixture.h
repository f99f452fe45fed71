#pragma once

#include <gtest/gtest.h>

#include "plugin/PProcessWatchdogPlugin.h"
#include "tests/plugin/ScriptedFramework.h"

/// Drives the plug-in as a host does. All references to services come back in the end.
class PluginFixture : public testing::Test, protected ScriptedFramework {
 protected:
  using Entry = PBaseptr<IProcessWatchdogEntry>;
  struct Watch {
    /// Checks: c, m, i, r(espawn); rules: d(ifferent parents), (ru)n(ning).
    std::string on;
    unsigned int limit = 0;  ///< of CPU, memory and instances
    unsigned int action = none;
    int respawnLimit = 0;
    unsigned int period = 0;
  };

  PluginFixture() { fPlugin = veskGetPlugin(); }
  void TearDown() override {
    fPlugin = nullptr;
    EXPECT_EQ(references, 0);
  }

  void start() {
    ASSERT_EQ(fPlugin->init(), 0);
    settle();
  }
  std::string tickAfter(long long milliseconds, const char* pattern = "") {
    take();
    now += milliseconds;
    tick();
    return take(pattern);
  }
  template <class Interface = IProcessWatchdog>
  Interface* service(const wchar_t* id = L"com.telmor.vesk.watchdog.process") {
    IBase* instance = nullptr;
    EXPECT_EQ(fPlugin->getInstance(id, instance), 0);
    return static_cast<Interface*>(instance);
  }
  Entry newEntry(const wchar_t* name) {
    Entry entry;
    entry = service<IProcessWatchdogEntry>(L"com.telmor.vesk.watchdog.process.entry");
    entry->setName(name);
    return entry;
  }
  void monitor(Watch const& watch, const wchar_t* name) {
    const auto isOn = [&](char what) { return watch.on.find(what) != std::string::npos; };
    const Entry entry = newEntry(name);
    entry->setPeriod(watch.period);
    entry->setCpuEnabled(isOn('c'));
    entry->setMemEnabled(isOn('m'));
    entry->setInstEnabled(isOn('i'));
    entry->setRespawnEnabled(isOn('r'));
    entry->setShouldCountOnlyDiffParents(isOn('d'));
    entry->setShouldCountOnlyRunning(isOn('n'));
    entry->setCpuLimit(static_cast<char>(watch.limit));
    entry->setMemLimit(watch.limit);
    entry->setInstLimit(watch.limit);
    entry->setRespawnLimit(watch.respawnLimit);
    entry->setAction(static_cast<ProcessWatchdogActionEnum>(watch.action));
    EXPECT_EQ(service()->addProcessEntry(entry.get()), 0);
  }

  PBaseptr<IPlugin> fPlugin;
};
