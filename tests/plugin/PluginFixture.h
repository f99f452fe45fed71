#pragma once

#include <gtest/gtest.h>

#include "plugin/PProcessWatchdogPlugin.h"
#include "tests/plugin/ScriptedFramework.h"

/// Drives the plug-in as a host does. All references to services come back in the end.
class PluginFixture : public testing::Test, protected ScriptedFramework {
 protected:
  using Entry = PBaseptr<IProcessWatchdogEntry>;
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
  PBaseptr<IPlugin> fPlugin;
};
