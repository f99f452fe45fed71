// A host with that framework: loads the plug-in, lets it look once, and ends it.

#include <dlfcn.h>

#include <cstdarg>
#include <fstream>
#include <sstream>

#include "framework/IConfig.h"
#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/ILogger.h"
#include "framework/IPlugin.h"
#include "framework/PProcess.h"
#include "plugin/PBaseptr.h"
#include "watchdog/IProcessWatchdog.h"

struct Services final : ILogger, IConfigManager, IConfig, IEventDispatcher {
  std::map<PString, std::wstring> texts;

  int read(PLiteral const& key, auto& value) {
    return std::wistringstream(texts[key]) >> value ? 0 : -504;
  }

  int incRef() override { return 2; }
  int decRef() override { return 1; }

  int init(PLiteral const& logName) override { return script.note(logName.c_str()); }
  int setLevel(LogLevelEnum) override { return 0; }
  LogLevelEnum getLevel() const override { return logDebug; }
  int flush() override { return 0; }
  int error(int, const wchar_t* format, ...) override { return script.note(format); }
  int debug(int, const wchar_t*, ...) override { return 0; }
  int info(int, const wchar_t* format, ...) override {
    std::wstring line(200, L' ');
    va_list values;
    va_start(values, format);
    line.resize(static_cast<unsigned>(std::vswprintf(line.data(), line.size(), format, values)));
    va_end(values);
    return script.note(line);
  }

  int loadByPath(PLiteral const&, PBaseptr<IConfig>&) override { return -504; }
  int loadByID(PLiteral const&, PBaseptr<IConfig>& config) override {
    config = this;
    return 0;
  }
  int getID(PString&) const override { return -504; }
  bool contains(PLiteral const& key) const override { return texts.contains(key); }
  int getString(PLiteral const& key, PString& value) override {
    value = texts[key].c_str();
    return value.isEmpty() ? -504 : 0;
  }
  int getInt(PLiteral const& key, int& value) override { return read(key, value); }
  int getBool(PLiteral const& key, bool& value) override { return read(key, value); }
  int getUInt(PLiteral const&, unsigned int&) override { return -504; }
  int getLong(PLiteral const&, long long&) override { return -504; }
  int getDouble(PLiteral const&, double&) override { return -504; }

  int subscribe(PLiteral const&, IEventListener*) override { return 0; }
  int unsubscribe(PLiteral const&, IEventListener*) override { return 0; }
  int postEvent(PLiteral const& topic, IBase* source, int value) override {
    PString name;
    static_cast<IProcessWatchdogEntry*>(source)->getName(name);
    return script.note(std::to_wstring(value) + L" of " + name.c_str() + L": " + topic.c_str());
  }
};

/// host PLUGIN CONFIGURATION EXPECTED: 0 if what happened is what is expected.
int main(int /*argc*/, char** argv) {
  Services services;
  std::wifstream configuration(argv[2]);
  for (std::wstring key; configuration >> key;) configuration >> services.texts[key.c_str()];
  script.services = {{ID_ILOGGER, static_cast<ILogger*>(&services)},
                     {ID_ICONFIGMANAGER, static_cast<IConfigManager*>(&services)},
                     {ID_IEVENTDISPATCHER, static_cast<IEventDispatcher*>(&services)}};
  script.processes[L"many"] = {11, 12};

  void* const library = dlopen(argv[1], RTLD_NOW);
  if (library == nullptr) return std::puts(dlerror()), 1;
  auto* const plugin = reinterpret_cast<IPlugin* (*)()>(dlsym(library, "_Z13veskGetPluginv"))();
  plugin->incRef();
  if (plugin->init() == 0) script.waits.acquire();

  unsigned int count = 0;
  PString* const offered = plugin->getInterfaces(count);
  for (unsigned int i = 0; i < count; ++i) script.note(offered[i].c_str());
  delete[] offered;
  script.note(L"holders left: " + std::to_wstring(plugin->decRef()));

  std::printf("%ls", script.notes.c_str());
  std::wifstream expected(argv[3]);
  return script.notes == std::wstring(std::istreambuf_iterator<wchar_t>(expected), {}) ? 0 : 1;
}
