#include "host/daemon/PluginLibrary.h"

#include <dlfcn.h>

#include <memory>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PString.h"
#include "host/libvesk/Runtime.h"
#include "host/trust/TrustedPath.h"

namespace {

/// `IPlugin* veskGetPlugin()` as the compiler names it.
constexpr const char* kFactory = "_Z13veskGetPluginv";

std::string loaderMessage() {
  const char* message = ::dlerror();
  return message != nullptr ? message : "unknown cause";
}

}  // namespace

std::unique_ptr<PluginLibrary> PluginLibrary::open(std::string const& path, std::string& cause) {
  // Always a path, so the loader looks for it nowhere else.
  if (const std::string obstacle = obstacleTo(path); !obstacle.empty()) {
    cause = path + ": " + obstacle;
    return nullptr;
  }
  void* const handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    cause = loaderMessage();
    return nullptr;
  }
  std::unique_ptr<PluginLibrary> library(new PluginLibrary(path, handle));
  library->fFactory = reinterpret_cast<Factory>(::dlsym(handle, kFactory));
  if (library->fFactory == nullptr) {
    cause = path + ": not a plug-in, it has no veskGetPlugin()";
    return nullptr;
  }
  if (const int res = library->make(); res != PResult::ok) {
    cause = path + ": veskGetPlugin() makes no plug-in, res=" + std::to_string(res);
    return nullptr;
  }
  return library;
}

int PluginLibrary::make() {
  IPlugin* plugin = nullptr;
  const int res = pGuarded([&] {
    plugin = fFactory();
    return PResult::ok;
  });
  if (plugin == nullptr) return res != PResult::ok ? res : PResult::failed;
  adopt(plugin);
  return PResult::ok;
}

PluginLibrary::PluginLibrary(std::string path, void* handle)
    : fPath(std::move(path)),
      fHandle(handle),
      fHoldersLeft(std::make_shared<std::atomic<int>>(0)) {}

PluginLibrary::~PluginLibrary() {
  stop();
  release();
  if (*fHoldersLeft == 0) ::dlclose(fHandle);
}

void PluginLibrary::adopt(IPlugin* plugin) {
  // Counts as held until it is let go, on whatever thread that happens.
  *fHoldersLeft += 1;
  plugin->incRef();
  fPlugin = std::shared_ptr<IPlugin>(
      plugin, [left = fHoldersLeft](IPlugin* held) { *left += held->decRef() - 1; });
}

int PluginLibrary::start() {
  return pGuarded([this] {
    if (fPlugin == nullptr) {
      if (const int res = make(); res != PResult::ok) return res;
    }
    if (const int res = fPlugin->init(); res != PResult::ok) return res;
    unsigned int count = 0;
    const std::unique_ptr<PString[]> ids(fPlugin->getInterfaces(count));
    for (unsigned int i = 0; i < count; ++i) offer(ids[i]);
    return PResult::ok;
  });
}

void PluginLibrary::offer(PLiteral const& id) {
  const std::weak_ptr<IPlugin> offering = fPlugin;
  Runtime::provide(id, [offering, name = PString(id)](IBase*& instance) {
    const auto plugin = offering.lock();
    return plugin != nullptr ? plugin->getInstance(name, instance) : PResult::notFound;
  });
  fShared.reserve(fShared.size() + 1);
  IBase* instance = nullptr;
  if (fPlugin->getInstance(id, instance) != PResult::ok || instance == nullptr) return;
  // Nobody else holds an object that was made for this call: it ends here.
  if (instance->incRef() > 1) {
    fShared.push_back(instance);
  } else {
    instance->decRef();
  }
}

void PluginLibrary::stop() { fPlugin.reset(); }

void PluginLibrary::release() {
  for (IBase* shared : fShared) *fHoldersLeft += shared->decRef();
  fShared.clear();
}
