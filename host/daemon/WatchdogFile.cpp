#include "host/daemon/WatchdogFile.h"

#include <algorithm>
#include <filesystem>

#include "host/check/WatchdogKeys.h"

namespace {

constexpr const char* kWatchdogLibrary = "libveskp.watchdog.process.so";

}  // namespace

bool runsWatchdog(HostSettings const& settings) {
  return std::ranges::any_of(settings.plugins, [](std::filesystem::path const& path) {
    return path.filename().string().starts_with(kWatchdogLibrary);
  });
}

std::string watchdogFilePath(HostSettings const& settings) {
  const std::string name = std::string(kWatchdogConfiguration) + ".toml";
  return std::filesystem::path(settings.configDir) / name;
}
