#pragma once

// What every component needs: counted objects, and the plug-in that the host sees.

#include <new>

#include "framework/IConfig.h"
#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/ILogger.h"
#include "framework/IPlugin.h"
#include "framework/PCounter.h"
#include "framework/PGuard.h"
#include "plugin/PBaseptr.h"
#include "watchdog/IProcessWatchdog.h"
#include "watchdog/ObtainInstance.h"

/// Implements the reference count of an interface: the holder who lets go last deletes
/// the object, on whatever thread that is.
template <class Interface>
class Counted : public Interface {
 public:
  Counted() = default;
  Counted(Counted const&) = delete;
  Counted& operator=(Counted const&) = delete;

  int incRef() override { return ++fHolders; }

  int decRef() override {
    const int holders = fHolders.change(-1);
    if (holders == 0) delete this;
    return holders;
  }

 protected:
  virtual ~Counted() = default;

 private:
  PCounter fHolders;
};

/// What the host loads: starts one `Component` and stops it at its own end. The two are
/// not one object, for others hold the component as well, such as the event dispatcher:
/// the host alone holds this one, so that letting go of it always ends it.
template <class Component>
class Plugin final : public Counted<IPlugin> {
 public:
  int init() override {
    return pGuarded([this] {
      pTake(fComponent, new Component);
      return fComponent->start();
    });
  }

  /// None: nobody asks this component for anything.
  PString* getInterfaces(unsigned int& count) override {
    count = 0;
    return nullptr;
  }

  int getInstance(PLiteral const&, IBase*& instance) override {
    instance = nullptr;
    return PResult::notFound;
  }

 private:
  ~Plugin() override {
    if (fComponent) fComponent->stop();
  }

  PBaseptr<Component> fComponent;
};

/// The library's one exported function: makes a plug-in that nobody holds yet.
VESK_API IPlugin* veskGetPlugin();
