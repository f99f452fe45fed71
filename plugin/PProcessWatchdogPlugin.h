#pragma once

#include "framework/IPlugin.h"
#include "framework/PCounter.h"
#include "plugin/PBaseptr.h"
#include "watchdog/PProcessWatchdog.h"

/// The library's plug-in object: it owns the one watchdog service and makes
/// entries on request. Destroyed by its own `decRef()`.
class PProcessWatchdogPlugin : public IPlugin {
 public:
  PProcessWatchdogPlugin() = default;
  PProcessWatchdogPlugin(PProcessWatchdogPlugin const&) = delete;
  PProcessWatchdogPlugin& operator=(PProcessWatchdogPlugin const&) = delete;

  int incRef() override;
  int decRef() override;
  int init() override;
  PString* getInterfaces(unsigned int& count) override;
  int getInstance(PLiteral const& id, IBase*& instance) override;

  virtual ~PProcessWatchdogPlugin() = default;

 private:
  PCounter fRefCount;
  PBaseptr<PProcessWatchdog> fWatchdog;
};

/// The library's one exported function: makes a plug-in object, with the
/// reference count 0, and does nothing else. Null when memory ran out.
[[gnu::visibility("default")]] IPlugin* veskGetPlugin();
