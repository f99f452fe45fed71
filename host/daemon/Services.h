#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "host/daemon/HostSettings.h"
#include "host/process/ProcessUtilities.h"
#include "host/services/ConfigManager.h"
#include "host/services/EventDispatcher.h"
#include "host/services/ExtCounters.h"
#include "host/services/LogOutput.h"
#include "host/services/OsRestart.h"
#include "host/watch/WatchBoard.h"

/// Everything that the host offers its plug-ins, for as long as this object
/// lives: the services behind `veskGetInstance` and the utilities behind
/// `PProcess`. Outlives the plug-ins.
class Services {
 public:
  Services(HostSettings const& settings, ConfigSources sources,
           std::shared_ptr<LogOutput> const& output);

  /// Withdraws the services, then the process utilities, which first finish the
  /// kills that they began. No listener is called any more after that, even of a
  /// component that still holds the dispatcher: its library may be unloaded next.
  ~Services();
  Services(Services const&) = delete;
  Services& operator=(Services const&) = delete;

  /// Delivers the last events.
  /// @return false when a listener does not return: no library may be unloaded.
  bool endEvents() const { return fEvents->close(); }

  ConfigManager& configuration() const { return *fConfigManager; }
  ProcessUtilities const& utilities() const { return *fUtilities; }

  // What is to be shown; each may outlive this object.
  std::shared_ptr<WatchBoard> board() const { return fBoard; }
  std::shared_ptr<RecordJournal> journal() const { return fJournal; }
  std::function<std::map<std::string, unsigned long long>()> counters() const;
  std::function<RestartState()> restarts() const;

 private:
  std::shared_ptr<RecordJournal> fJournal;
  std::shared_ptr<WatchBoard> fBoard;
  std::shared_ptr<ConfigManager> fConfigManager;
  std::shared_ptr<ProcessUtilities> fUtilities;
  std::shared_ptr<EventDispatcher> fEvents;
  std::shared_ptr<ExtCounters> fCounters;
  std::shared_ptr<OsRestart> fRestart;
};
