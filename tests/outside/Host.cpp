// A host with that framework: loads the plug-in, lets it look once, and ends it.

#include <dlfcn.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <fstream>

#include "framework/IConfig.h"
#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/IExtCounters.h"
#include "framework/ILogger.h"
#include "framework/IPlugin.h"
#include "framework/Script.h"
#include "plugin/PBaseptr.h"
#include "watchdog/IProcessWatchdog.h"

namespace {

struct Services final : ILogger, IConfigManager, IConfig, IEventDispatcher, IExtCounters {
  std::map<std::wstring, std::wstring> values;

  int incRef() override { return 2; }
  int decRef() override { return 1; }

  int init(PLiteral const& logName) override { return script.note(logName.c_str()); }
  int setLevel(LogLevelEnum) override { return 0; }
  LogLevelEnum getLevel() const override { return logDebug; }
  int flush() override { return 0; }
  int error(int, const wchar_t* format, ...) override { return script.note(format); }
  int debug(int, const wchar_t*, ...) override { return 0; }
  int info(int, const wchar_t* format, ...) override {
    std::array<wchar_t, 200> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vswprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    return script.note(line.data());
  }

  int loadByPath(PLiteral const&, PBaseptr<IConfig>&) override { return -504; }
  int loadByID(PLiteral const&, PBaseptr<IConfig>& config) override { return config = this, 0; }
  int getID(PString&) const override { return -504; }
  bool contains(PLiteral const& key) const override { return values.contains(key.c_str()); }
  int getString(PLiteral const& key, PString& value) override {
    value = values[key.c_str()].c_str();
    return value.isEmpty() ? -504 : 0;
  }
  int getInt(PLiteral const& key, int& value) override {
    value = static_cast<int>(std::wcstol(values[key.c_str()].c_str(), nullptr, 10));
    return value == 0 ? -504 : 0;
  }
  int getUInt(PLiteral const&, unsigned int&) override { return -504; }
  int getLong(PLiteral const&, long long&) override { return -504; }
  int getDouble(PLiteral const&, double&) override { return -504; }
  int getBool(PLiteral const& key, bool& value) override {
    if (!contains(key)) return -504;
    return value = values[key.c_str()] == L"true", 0;
  }

  int subscribe(PLiteral const&, IEventListener*) override { return 0; }
  int unsubscribe(PLiteral const&, IEventListener*) override { return 0; }
  int postEvent(PLiteral const& topic, IBase* source, int value) override {
    PString name;
    static_cast<IProcessWatchdogEntry*>(source)->getName(name);
    name.append((L" " + std::to_wstring(value)).c_str());
    return script.note(std::wstring(topic.c_str()) + L" " + name.c_str());
  }
  int increment(PLiteral const& name) override { return script.note(name.c_str()); }
  int getValue(PLiteral const&, unsigned long long&) const override { return -504; }
};

}  // namespace

/// host PLUGIN CONFIGURATION EXPECTED: 0 if what happened is what is expected.
int main(int /*argc*/, char** argv) {
  Services services;
  std::wifstream configuration(argv[2]);
  for (std::wstring key; configuration >> key;) configuration >> services.values[key];
  script.services = {{ID_ILOGGER, static_cast<ILogger*>(&services)},
                     {ID_ICONFIGMANAGER, static_cast<IConfigManager*>(&services)},
                     {ID_IEVENTDISPATCHER, static_cast<IEventDispatcher*>(&services)},
                     {ID_IEXTCOUNTERS, static_cast<IExtCounters*>(&services)}};
  script.processes[L"many"] = {11, 12};

  void* const library = dlopen(argv[1], RTLD_NOW);
  if (library == nullptr) return std::puts(dlerror()), 1;
  auto* const plugin = reinterpret_cast<IPlugin* (*)()>(dlsym(library, "_Z13veskGetPluginv"))();
  plugin->incRef();
  if (plugin->init() == 0) script.waits.wait(0);

  unsigned int count = 0;
  PString* const offered = plugin->getInterfaces(count);
  for (unsigned int i = 0; i < count; ++i) script.note(offered[i].c_str());
  delete[] offered;
  script.note(L"holders left: " + std::to_wstring(plugin->decRef()));

  std::wstring seen;
  for (auto const& line : script.notes) seen += line + L"\n";
  std::printf("%ls", seen.c_str());
  std::wifstream expected(argv[3]);
  return seen == std::wstring(std::istreambuf_iterator<wchar_t>(expected), {}) ? 0 : 1;
}
