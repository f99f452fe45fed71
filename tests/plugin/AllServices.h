#pragma once

#include <cstdarg>
#include <cstdlib>
#include <cwchar>
#include <iterator>

#include "framework/IConfigManager.h"
#include "framework/IOSRestart.h"
#include "watchdog/PProcessWatchdog.h"

/// All services in one object: what counts is who calls what, not on which. Whatever the
/// plug-in has no use for ends the test.
struct AllServices : ILogger, IConfigManager, IConfig, IEventDispatcher, IExtCounters, IOSRestart {
  static constexpr const wchar_t* kIds[] = {
      L"com.telmor.vesk.config.manager", L"com.telmor.vesk.logger",
      L"com.telmor.vesk.eventdispatcher", L"com.telmor.vesk.extcounters",
      L"com.telmor.vesk.os.restart"};
  static int numberOf(PLiteral const& id) {
    int number = 0;
    while (!(id == kIds[number])) ++number;
    return number;
  }
  IBase* service(int number) {
    IBase* const all[] = {static_cast<IConfigManager*>(this), static_cast<ILogger*>(this),
                          static_cast<IEventDispatcher*>(this), static_cast<IExtCounters*>(this),
                          static_cast<IOSRestart*>(this)};
    return all[number];
  }

  virtual int log(const char* level, const wchar_t* format, const wchar_t* text) = 0;
#define LOG_OPERATION(level)                                              \
  int level(int category, const wchar_t* format, ...) override {          \
    wchar_t text[512] = {};                                               \
    std::va_list values;                                                  \
    va_start(values, format);                                             \
    std::vswprintf(text, std::size(text), format, values);                \
    va_end(values);                                                       \
    return log(category == 0 ? #level " " : "(category) ", format, text); \
  }
  LOG_OPERATION(info)
  LOG_OPERATION(error)
  LOG_OPERATION(debug)

  int setLevel(LogLevelEnum) override { std::abort(); }
  LogLevelEnum getLevel() const override { return logDebug; }
  int flush() override { std::abort(); }
  int loadByPath(PLiteral const&, PBaseptr<IConfig>&) override { std::abort(); }
  int getID(PString&) const override { std::abort(); }
  bool contains(PLiteral const&) const override { std::abort(); }
  int getUInt(PLiteral const&, unsigned int&) override { std::abort(); }
  int getLong(PLiteral const&, long long&) override { std::abort(); }
  int getDouble(PLiteral const&, double&) override { std::abort(); }
  int subscribe(PLiteral const&, IEventListener*) override { std::abort(); }
  int unsubscribe(PLiteral const&, IEventListener*) override { std::abort(); }
  int getValue(PLiteral const&, unsigned long long&) const override { std::abort(); }
};
