#pragma once

#include <gtest/gtest.h>

#include <string>

#include "plugin/PBaseptr.h"
#include "plugin/PProcessWatchdogPlugin.h"
#include "tests/plugin/ScriptedFramework.h"
#include "watchdog/IProcessWatchdog.h"

/// Drives the plug-in as a host does. Every test ends with the plug-in gone and
/// every reference to a service given back.
class PluginFixture : public testing::Test {
 protected:
  using E = IProcessWatchdogEntry;
  using Entry = PBaseptr<E>;
  /// What a tick only reads.
  static inline const ScriptedFramework::Prefixes kReadings = {"find", "isRunning", "get", "wait"};

  void TearDown() override {
    fPlugin = nullptr;
    EXPECT_EQ(fFramework.references, 0);
  }

  /// Starts the plug-in, a second time in place of what it has, and sees its first
  /// tick through.
  void start() {
    ASSERT_EQ(fPlugin->init(), 0);
    fFramework.settle();
  }

  /// What one tick, `milliseconds` later, writes to the journal.
  std::string tickAfter(long long milliseconds, ScriptedFramework::Prefixes const& prefixes = {},
                        bool only = false) {
    fFramework.take();
    fFramework.now += milliseconds;
    fFramework.tick();
    return fFramework.take(prefixes, only);
  }

  /// What the end of the plug-in writes to the journal.
  std::string end(ScriptedFramework::Prefixes const& without = {"~P"}) {
    fFramework.take();
    fPlugin = nullptr;
    return fFramework.take(without);
  }

  IProcessWatchdog* service() {
    IBase* instance = nullptr;
    EXPECT_EQ(fPlugin->getInstance(L"com.telmor.vesk.watchdog.process", instance), 0);
    return static_cast<IProcessWatchdog*>(instance);
  }

  Entry newEntry(const wchar_t* name) {
    IBase* instance = nullptr;
    EXPECT_EQ(fPlugin->getInstance(L"com.telmor.vesk.watchdog.process.entry", instance), 0);
    Entry entry;
    entry = static_cast<E*>(instance);
    entry->setName(name);
    return entry;
  }

  /// Monitors a program that is judged at every tick, set up by `setUp`.
  template <class SetUp>
  Entry monitor(SetUp setUp, const wchar_t* name = L"web") {
    Entry entry = newEntry(name);
    entry->setPeriod(0);
    entry->setExecutable(L"/bin/web");
    entry->setArguments(L"-x");
    entry->setWorkingDir(L"/srv");
    setUp(*entry);
    EXPECT_EQ(service()->addProcessEntry(entry.get()), 0);
    return entry;
  }

  static PBaseptr<IPlugin> load() {
    PBaseptr<IPlugin> plugin;
    plugin = veskGetPlugin();
    return plugin;
  }

  ScriptedFramework fFramework;
  PBaseptr<IPlugin> fPlugin = load();
};
