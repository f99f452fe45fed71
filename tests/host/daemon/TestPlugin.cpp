// A plug-in for tests: offers one shared object and one that is made anew, and
// cannot start without an event dispatcher.

#include <memory>

#include "framework/IPlugin.h"
#include "framework/PApi.h"
#include "framework/PResult.h"
#include "framework/veskGetInstance.h"
#include "host/RefCounted.h"

namespace {

int theLiveObjects = 0;

class Object : public RefCounted<IBase> {
 public:
  Object() { ++theLiveObjects; }

 private:
  ~Object() override { --theLiveObjects; }
};

class TestPlugin : public RefCounted<IPlugin> {
 public:
  int init() override {
    IBase* dispatcher = nullptr;
    return veskGetInstance(L"com.telmor.vesk.eventdispatcher", dispatcher);
  }

  PString* getInterfaces(unsigned int& count) override {
    count = 2;
    return new PString[2]{L"test.shared", L"test.new"};
  }

  int getInstance(PLiteral const& id, IBase*& instance) override {
    instance = id == L"test.shared" ? fShared : new Object;
    return PResult::ok;
  }

 private:
  Object* makeShared() {
    auto* const object = new Object;
    object->incRef();
    return object;
  }
  ~TestPlugin() override { fShared->decRef(); }

  Object* const fShared = makeShared();
};

}  // namespace

/// How many objects of this plug-in there are.
extern "C" VESK_API int liveObjects() { return theLiveObjects; }

VESK_API IPlugin* veskGetPlugin() { return new TestPlugin; }
