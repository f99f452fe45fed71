#include "host/daemon/PluginLoader.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "framework/IEventDispatcher.h"
#include "framework/PResult.h"
#include "framework/veskGetInstance.h"
#include "host/libvesk/Runtime.h"
#include "host/services/EventDispatcher.h"
#include "host/services/HoldRef.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;

namespace {

class Plugins : public testing::Test {
 protected:
  void SetUp() override {
    Runtime::provide(ID_IEVENTDISPATCHER, new EventDispatcher(fLog.logger()));
    fLoader = std::make_unique<PluginLoader>(fLog.logger());
  }
  void TearDown() override { Runtime::reset(); }

  static bool isInMemory() {
    void* const handle = ::dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) ::dlclose(handle);
    return handle != nullptr;
  }

  static int liveObjects() {
    void* const handle = ::dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
    const int count = reinterpret_cast<int (*)()>(::dlsym(handle, "liveObjects"))();
    ::dlclose(handle);
    return count;
  }

  static void unload(std::shared_ptr<IBase>& lastObject) {
    lastObject.reset();
    void* const handle = ::dlopen(TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
    ::dlclose(handle);
    ::dlclose(handle);
  }

  static IBase* lookUp(PLiteral const& id) {
    IBase* instance = nullptr;
    EXPECT_EQ(veskGetInstance(id, instance), 0);
    return instance;
  }

  CollectedLog fLog;
  std::unique_ptr<PluginLoader> fLoader;
};

TEST_F(Plugins, OfferTheirInterfacesFromStartToStop) {
  IBase* instance = nullptr;
  EXPECT_TRUE(fLoader->open({TEST_PLUGIN}));
  EXPECT_EQ(veskGetInstance(L"test.shared", instance), PResult::notFound);
  EXPECT_TRUE(fLoader->start());
  EXPECT_EQ(liveObjects(), 1) << "the shared one; none is held that was made anew";
  EXPECT_EQ(lookUp(L"test.shared"), lookUp(L"test.shared"));
  EXPECT_EQ(lookUp(L"test.shared")->incRef(), 3) << "plug-in, host and this test";
  lookUp(L"test.shared")->decRef();
  const auto made = holdRef(lookUp(L"test.new"));
  EXPECT_EQ(made->incRef(), 2) << "nobody else holds a new one";
  made->decRef();
  fLoader->stop();
  EXPECT_EQ(veskGetInstance(L"test.shared", instance), PResult::notFound);
}

TEST_F(Plugins, ALibraryStaysInMemoryUntilTheLoaderIsGoneAndLongerForWhoHoldsItsObjects) {
  for (const bool held : {false, true}) {
    auto loader = std::make_unique<PluginLoader>(fLog.logger());
    ASSERT_TRUE(loader->open({TEST_PLUGIN}) && loader->start());
    std::shared_ptr<IBase> holder;
    if (held) holder = holdRef(lookUp(L"test.shared"));
    loader->stop();
    EXPECT_TRUE(isInMemory()) << "an event on its way may carry one of its objects";
    loader.reset();
    EXPECT_EQ(isInMemory(), held);
    // For a repetition of this test, which nobody holds anything for.
    if (held) unload(holder);
  }
}

TEST_F(Plugins, FailuresAreOneLineWithTheirCause) {
  EXPECT_FALSE(fLoader->open({"/nowhere/p.so"}));
  EXPECT_FALSE(fLoader->open({LIBVESK}));
  EXPECT_TRUE(fLoader->open({TEST_PLUGIN, TEST_PLUGIN}));
  EXPECT_EQ(fLoader->count(), 1U);
  Runtime::reset();
  EXPECT_FALSE(fLoader->start());
  const std::string path = TEST_PLUGIN;
  EXPECT_THAT(
      fLog.lines(),
      ElementsAre("error test: cannot load a plug-in: /nowhere/p.so: cannot open shared object "
                  "file: No such file or directory",
                  "error test: cannot load a plug-in: " LIBVESK
                  ": not a plug-in, it has no veskGetPlugin()",
                  "warning test: plug-in " + path + " is named twice; it runs once",
                  "error test: cannot start a plug-in: " + path + ": res=-504"));
}

}  // namespace
