#include "framework/PUtils.h"
#include "framework/veskGetInstance.h"
#include "tests/plugin/AllServices.h"
#include "tests/plugin/ScriptedFramework.h"

namespace {

int call(const char* word, PLiteral const& about) {
  const ScriptedFramework::Side side(false);
  return framework().call(word + PUtils::toUtf8(about));
}

struct Services : AllServices {
  int incRef() override {
    framework().quiet("incRef");
    return ++framework().references;
  }
  int decRef() override {
    --framework().references;
    return framework().call("release");
  }

  int init(PLiteral const& logName) override { return call("init ", logName); }
  int log(const char* level, const wchar_t* /*format*/, const wchar_t* text) override {
    return call(level, text);
  }
  int loadByID(PLiteral const& id, PBaseptr<IConfig>& config) override {
    const ScriptedFramework::Side side(false);
    const int res = call("loadByID ", id);
    if (res == PResult::ok) config = this;
    return res;
  }
  int getString(PLiteral const& key, PString& out) override { return get("getString ", key, out); }
  int getInt(PLiteral const& key, int& value) override { return get("getInt ", key, value); }
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

  int postEvent(PLiteral const& topic, IBase*, int value) override {
    const ScriptedFramework::Side side(false);
    return call(("postEvent " + std::to_string(value) + " ").c_str(), topic);
  }
  int increment(PLiteral const& name) override { return call("increment ", name); }
  int restart(int mode) override { return call(("restart " + std::to_string(mode)).c_str(), {}); }
};

}  // namespace

int veskGetInstance(PLiteral const& id, IBase*& instance) noexcept {
  const ScriptedFramework::Side side(false);
  static Services all;
  const int res = call("instance ", id);
  instance = res == PResult::ok ? all.service(Services::numberOf(id)) : nullptr;
  return res == ScriptedFramework::givesNone ? PResult::ok : res;
}
