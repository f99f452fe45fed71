#include "plugin/PProcessWatchdogPlugin.h"

#include <new>

#include "watchdog/Guarded.h"
#include "watchdog/ProcessWatchdogResult.h"

IPlugin* veskGetPlugin() { return new (std::nothrow) PProcessWatchdogPlugin; }

int PProcessWatchdogPlugin::incRef() { return ++fRefCount; }

int PProcessWatchdogPlugin::decRef() {
  const int holders = fRefCount.change(-1);
  if (holders == 0) delete this;
  return holders;
}

int PProcessWatchdogPlugin::init() {
  const int created = guarded([this] {
    pTake(fWatchdog, new PProcessWatchdog);
    return FrameworkResult::ok;
  });
  if (created != FrameworkResult::ok) return ProcessWatchdogResult::noService;
  const int res = fWatchdog->init();
  if (res != FrameworkResult::ok) fWatchdog = nullptr;
  return res;
}

PString* PProcessWatchdogPlugin::getInterfaces(unsigned int& count) {
  PString* interfaces = nullptr;
  const int res = guarded([&] {
    interfaces = new PString[2];
    interfaces[0] = ID_IPROCESSWATCHDOG;
    interfaces[1] = ID_IPROCESSWATCHDOGENTRY;
    return FrameworkResult::ok;
  });
  if (res != FrameworkResult::ok) {
    delete[] interfaces;
    interfaces = nullptr;
  }
  count = interfaces != nullptr ? 2 : 0;
  return interfaces;
}

int PProcessWatchdogPlugin::getInstance(PLiteral const& id, IBase*& instance) {
  instance = nullptr;
  if (id == ID_IPROCESSWATCHDOG) {
    instance = fWatchdog.get();
    return FrameworkResult::ok;
  }
  if (id == ID_IPROCESSWATCHDOGENTRY) {
    instance = new (std::nothrow) PProcessWatchdogEntry;
    return instance != nullptr ? FrameworkResult::ok : FrameworkResult::outOfMemory;
  }
  return ProcessWatchdogResult::unknownInterface;
}
