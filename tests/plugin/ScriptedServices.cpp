#include <array>
#include <cerrno>
#include <cstdarg>
#include <cwchar>

#include "framework/IConfig.h"
#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/IExtCounters.h"
#include "framework/ILogger.h"
#include "framework/IOSRestart.h"
#include "framework/PUtils.h"
#include "plugin/PBaseptr.h"
#include "tests/plugin/ScriptedFramework.h"
#include "watchdog/IProcessWatchdogEntry.h"

namespace {

/// A service that counts its holders and says when the last one let go.
template <class Interface>
class Service : public Interface {
 public:
  Service(ScriptedFramework& framework, const char* name) : fFramework(framework), fName(name) {}
  int incRef() override {
    ++fFramework.references;
    return ++fReferences;
  }
  int decRef() override {
    --fFramework.references;
    const int left = --fReferences;
    if (left == 0) fFramework.record("release " + fName);
    return left;
  }

 protected:
  int call(const char* word, PLiteral const& about = {}) const {
    return fFramework.call(word + (" " + PUtils::toUtf8(about)));
  }

  ScriptedFramework& fFramework;

 private:
  std::string fName;
  std::atomic<int> fReferences = 0;
};

class Logger : public Service<ILogger> {
 public:
  using Service::Service;
  int init(PLiteral const& logName) override { return call("init", logName); }
  int setLevel(LogLevelEnum) override { return call("setLevel"); }
  LogLevelEnum getLevel() const override { return logDebug; }
  int flush() override { return call("flush"); }
  int info(int category, const wchar_t* format, ...) override {
    std::va_list values;
    va_start(values, format);
    const std::string text = formatted(category, format, values);
    va_end(values);
    return log("info " + text);
  }
  int error(int category, const wchar_t* format, ...) override {
    std::va_list values;
    va_start(values, format);
    const std::string text = formatted(category, format, values);
    va_end(values);
    return log("error " + text);
  }
  int debug(int category, const wchar_t* format, ...) override {
    std::va_list values;
    va_start(values, format);
    const std::string text = formatted(category, format, values);
    va_end(values);
    return log("debug " + text);
  }

 private:
  static std::string formatted(int category, const wchar_t* format, std::va_list values) {
    std::array<wchar_t, 512> text{};
    if (std::vswprintf(text.data(), text.size(), format, values) < 0) return "(format)";
    return (category == 0 ? "" : "(category)") + PUtils::toUtf8(text.data());
  }
  int log(std::string const& line) {
    fFramework.record(line);
    fFramework.raiseFor(line);
    return PResult::ok;
  }
};

/// Reads from the script's configuration: -504 for no such key, -22 for another type.
class Config : public Service<IConfig> {
 public:
  using Service::Service;
  int getID(PString&) const override { return call("getID"); }
  bool contains(PLiteral const& key) const override { return call("contains", key) == 0; }
  int getString(PLiteral const& key, PString& value) override {
    std::wstring text;
    const int res = get("getString", key, text);
    if (res == PResult::ok) value = text.c_str();
    return res;
  }
  int getInt(PLiteral const& key, int& value) override { return get("getInt", key, value); }
  int getUInt(PLiteral const& key, unsigned int&) override { return call("getUInt", key); }
  int getLong(PLiteral const& key, long long&) override { return call("getLong", key); }
  int getDouble(PLiteral const& key, double&) override { return call("getDouble", key); }
  int getBool(PLiteral const& key, bool& value) override { return get("getBool", key, value); }

 private:
  template <class Type>
  int get(const char* word, PLiteral const& key, Type& value) {
    if (const int res = call(word, key); res != PResult::ok) return res;
    const auto found = fFramework.config.find(PUtils::toUtf8(key));
    if (found == fFramework.config.end()) return PResult::notFound;
    if (!std::holds_alternative<Type>(found->second)) return -EINVAL;
    value = std::get<Type>(found->second);
    return PResult::ok;
  }
};

class ConfigManager : public Service<IConfigManager> {
 public:
  explicit ConfigManager(ScriptedFramework& framework) : Service(framework, "config manager") {}
  int loadByPath(PLiteral const&, PBaseptr<IConfig>&) override { return call("loadByPath"); }
  int loadByID(PLiteral const& id, PBaseptr<IConfig>& config) override {
    const int res = call("loadByID", id);
    if (res == PResult::ok) config = &fConfig;
    return res;
  }

 private:
  Config fConfig{fFramework, "config"};
};

class EventDispatcher : public Service<IEventDispatcher> {
 public:
  using Service::Service;
  int subscribe(PLiteral const&, IEventListener*) override { return call("subscribe"); }
  int unsubscribe(PLiteral const&, IEventListener*) override { return call("unsubscribe"); }
  int postEvent(PLiteral const& topic, IBase* source, int value) override {
    PString name;
    if (source != nullptr) static_cast<IProcessWatchdogEntry*>(source)->getName(name);
    fFramework.eventSource = source;
    return fFramework.call("postEvent " + PUtils::toUtf8(topic) + " " + PUtils::toUtf8(name) + " " +
                           std::to_string(value));
  }
};

class ExtCounters : public Service<IExtCounters> {
 public:
  using Service::Service;
  int increment(PLiteral const& name) override { return call("increment", name); }
  int getValue(PLiteral const&, unsigned long long&) const override { return call("getValue"); }
};

class OSRestart : public Service<IOSRestart> {
 public:
  using Service::Service;
  int restart(int mode) override { return fFramework.call("restart " + std::to_string(mode)); }
};

struct Services {
  explicit Services(ScriptedFramework& framework)
      : logger(framework, "logger"),
        configManager(framework),
        eventDispatcher(framework, "event dispatcher"),
        extCounters(framework, "counters"),
        osRestart(framework, "os restart") {}

  Logger logger;
  ConfigManager configManager;
  EventDispatcher eventDispatcher;
  ExtCounters extCounters;
  OSRestart osRestart;
};

}  // namespace

std::shared_ptr<void> makeServices(ScriptedFramework& framework) {
  const auto services = std::make_shared<Services>(framework);
  framework.services = {{"com.telmor.vesk.logger", &services->logger},
                        {"com.telmor.vesk.config.manager", &services->configManager},
                        {"com.telmor.vesk.eventdispatcher", &services->eventDispatcher},
                        {"com.telmor.vesk.extcounters", &services->extCounters},
                        {"com.telmor.vesk.os.restart", &services->osRestart}};
  return services;
}
