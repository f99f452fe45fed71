#pragma once

#include <memory>

#include "host/daemon/HostSettings.h"
#include "host/process/ProcessUtilities.h"
#include "host/services/ConfigManager.h"
#include "host/services/LogOutput.h"
#include "host/watch/RecordJournal.h"
#include "host/watch/WatchBoard.h"

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

  // What is to be shown; each may outlive this object.
  std::shared_ptr<WatchBoard> board() const { return fBoard; }
  std::shared_ptr<RecordJournal> journal() const { return fJournal; }

 private:
  std::shared_ptr<RecordJournal> fJournal = std::make_shared<RecordJournal>();
  std::shared_ptr<WatchBoard> fBoard = std::make_shared<WatchBoard>();
  std::shared_ptr<ConfigManager> fConfigManager;
  std::shared_ptr<ProcessUtilities> fUtilities;
};
