#pragma once

#include <spdlog/logger.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/daemon/PluginLibrary.h"

/// All plug-ins of the host. Each failure is one line of the log. Belongs to one
/// thread.
class PluginLoader {
 public:
  explicit PluginLoader(std::shared_ptr<spdlog::logger> log);

  /// Unloads the libraries, the last one first.
  ~PluginLoader();
  PluginLoader(PluginLoader const&) = delete;
  PluginLoader& operator=(PluginLoader const&) = delete;

  /// Loads the libraries without starting anything. One that is named twice is
  /// loaded once.
  /// @return false when one of them is not to be had.
  bool open(std::vector<std::string> const& paths);

  std::size_t count() const { return fLibraries.size(); }

  /// Starts the plug-ins in their order, new ones where the former were ended.
  /// @param cause set to why the first that fails does so.
  /// @return false when one fails.
  bool start(std::string& cause);

  /// Ends the plug-ins, the last one first.
  void stop();

  /// Names a plug-in that was ended but that somebody still holds, so that it may still
  /// run; empty when there is none.
  std::string held() const;

 private:
  bool isOpen(PluginLibrary const& library) const;

  std::shared_ptr<spdlog::logger> fLog;
  std::vector<std::unique_ptr<PluginLibrary>> fLibraries;
};
