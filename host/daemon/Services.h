#pragma once

#include <memory>

#include "host/daemon/HostSettings.h"
#include "host/process/ProcessUtilities.h"
#include "host/services/ConfigManager.h"
#include "host/services/LogOutput.h"

/// Everything that the host offers its plug-ins, for as long as this object
/// lives: the services behind `veskGetInstance` and the utilities behind
/// `PProcess`. Outlives the plug-ins.
class Services {
 public:
  Services(HostSettings const& settings, ConfigSources sources,
           std::shared_ptr<LogOutput> const& output);

  /// Withdraws the services, then the process utilities, which first finish the
  /// kills that they began.
  ~Services();
  Services(Services const&) = delete;
  Services& operator=(Services const&) = delete;

  ConfigManager& configuration() const { return *fConfigManager; }
  ProcessUtilities const& utilities() const { return *fUtilities; }

 private:
  std::shared_ptr<ConfigManager> fConfigManager;
  std::shared_ptr<ProcessUtilities> fUtilities;
};
