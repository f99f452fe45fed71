#include <gtest/gtest.h>

#include <cstdarg>
#include <cwchar>

#include "framework/IConfigManager.h"
#include "framework/IOSRestart.h"
#include "framework/PUtils.h"
#include "framework/veskGetInstance.h"
#include "tests/plugin/ScriptedFramework.h"
#include "watchdog/PProcessWatchdog.h"

namespace {

int call(const char* word, PLiteral const& about) {
  const ScriptedFramework::Side side(false);
  return framework().call(word + PUtils::toUtf8(about));
}

/// For what the plug-in has no use for.
int uncalled() {
  ADD_FAILURE() << "not expected to be called";
  return PResult::failed;
}

/// All services in one object: what counts is who calls what, not on which.
struct Services : ILogger, IConfigManager, IConfig, IEventDispatcher, IExtCounters, IOSRestart {
  int incRef() override {
    framework().quiet("incRef");
    return ++framework().references;
  }
  int decRef() override {
    --framework().references;
    return framework().call("release");
  }

  int init(PLiteral const& logName) override { return call("init ", logName); }
  int setLevel(LogLevelEnum) override { return uncalled(); }
  LogLevelEnum getLevel() const override { return logDebug; }
  int flush() override { return uncalled(); }
#define LOG_OPERATION(level)                                      \
  int level(int category, const wchar_t* format, ...) override {  \
    wchar_t text[512] = {};                                       \
    std::va_list values;                                          \
    va_start(values, format);                                     \
    std::vswprintf(text, std::size(text), format, values);        \
    va_end(values);                                               \
    return call(category == 0 ? #level " " : "(category)", text); \
  }
  LOG_OPERATION(info)
  LOG_OPERATION(error)
  LOG_OPERATION(debug)

  int loadByPath(PLiteral const&, PBaseptr<IConfig>&) override { return uncalled(); }
  int loadByID(PLiteral const& id, PBaseptr<IConfig>& config) override {
    const ScriptedFramework::Side side(false);
    const int res = call("loadByID ", id);
    if (res == PResult::ok) config = this;
    return res;
  }
  int getID(PString&) const override { return uncalled(); }
  bool contains(PLiteral const&) const override { return false; }
  int getString(PLiteral const& key, PString& out) override { return get("getString ", key, out); }
  int getInt(PLiteral const& key, int& value) override { return get("getInt ", key, value); }
  int getUInt(PLiteral const&, unsigned int&) override { return uncalled(); }
  int getLong(PLiteral const&, long long&) override { return uncalled(); }
  int getDouble(PLiteral const&, double&) override { return uncalled(); }
  int getBool(PLiteral const& key, bool& value) override { return get("getBool ", key, value); }
  template <class Type>
  int get(const char* word, PLiteral const& key, Type& value) {
    const ScriptedFramework::Side side(false);
    const int res = call(word, key);
    const auto found = framework().config.find(PUtils::toUtf8(key));
    if (found == framework().config.end()) return PResult::notFound;
    if (res == PResult::ok) value = std::get<Type>(found->second);
    return res;
  }

  int subscribe(PLiteral const&, IEventListener*) override { return uncalled(); }
  int unsubscribe(PLiteral const&, IEventListener*) override { return uncalled(); }
  int postEvent(PLiteral const& topic, IBase*, int value) override {
    const ScriptedFramework::Side side(false);
    return call(("postEvent " + std::to_string(value) + " ").c_str(), topic);
  }
  int increment(PLiteral const& name) override { return call("increment ", name); }
  int getValue(PLiteral const&, unsigned long long&) const override { return uncalled(); }
  int restart(int mode) override { return call(("restart " + std::to_string(mode)).c_str(), {}); }
};

}  // namespace

int veskGetInstance(PLiteral const& id, IBase*& instance) noexcept {
  const ScriptedFramework::Side side(false);
  static Services all;
  static std::map<std::string, IBase*> const services = {
      {"com.telmor.vesk.logger", static_cast<ILogger*>(&all)},
      {"com.telmor.vesk.config.manager", static_cast<IConfigManager*>(&all)},
      {"com.telmor.vesk.eventdispatcher", static_cast<IEventDispatcher*>(&all)},
      {"com.telmor.vesk.extcounters", static_cast<IExtCounters*>(&all)},
      {"com.telmor.vesk.os.restart", static_cast<IOSRestart*>(&all)}};
  const int res = call("instance ", id);
  instance = res == PResult::ok ? services.at(PUtils::toUtf8(id)) : nullptr;
  return res == ScriptedFramework::givesNone ? PResult::ok : res;
}
