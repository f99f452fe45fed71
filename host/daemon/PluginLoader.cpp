#include "host/daemon/PluginLoader.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

PluginLoader::PluginLoader(std::shared_ptr<spdlog::logger> log) : fLog(std::move(log)) {}

PluginLoader::~PluginLoader() {
  while (!fLibraries.empty()) fLibraries.pop_back();
}

bool PluginLoader::open(std::vector<std::string> const& paths) {
  for (std::string const& path : paths) {
    std::string cause;
    auto library = PluginLibrary::open(path, cause);
    if (library == nullptr) {
      fLog->error("cannot load a plug-in: {}", cause);
      return false;
    }
    if (isOpen(*library)) {
      fLog->warn("plug-in {} is named twice; it runs once", path);
    } else {
      fLibraries.push_back(std::move(library));
    }
  }
  return true;
}

bool PluginLoader::isOpen(PluginLibrary const& library) const {
  return std::any_of(fLibraries.begin(), fLibraries.end(),
                     [&library](auto const& open) { return open->isSameAs(library); });
}

bool PluginLoader::start(std::string& cause) {
  for (auto const& library : fLibraries) {
    if (const int res = library->start(); res != 0) {
      cause = fmt::format("cannot start a plug-in: {}: res={}", library->path(), res);
      fLog->error(cause);
      return false;
    }
    fLog->debug("started plug-in {}", library->path());
  }
  return true;
}

void PluginLoader::stop() {
  for (auto at = fLibraries.rbegin(); at != fLibraries.rend(); ++at) (*at)->stop();
  for (auto at = fLibraries.rbegin(); at != fLibraries.rend(); ++at) (*at)->release();
}

std::string PluginLoader::held() const {
  const auto found = std::ranges::find_if(
      fLibraries, &PluginLibrary::isHeld, [](auto const& library) -> auto& { return *library; });
  return found != fLibraries.end() ? (*found)->path() : "";
}
