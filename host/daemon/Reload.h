#pragma once

#include <spdlog/logger.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/control/ApiResult.h"
#include "host/daemon/CheckCommand.h"
#include "host/daemon/Daemon.h"
#include "host/daemon/MainLoop.h"
#include "host/daemon/PluginLoader.h"
#include "host/daemon/ServiceNotifier.h"
#include "host/daemon/WatchPlan.h"
#include "host/entries/Roster.h"
#include "host/process/ProcessUtilities.h"
#include "host/services/ConfigManager.h"
#include "host/watch/RecordJournal.h"

/// Reads the configuration file again while the host runs. The plug-ins are ended and
/// started anew with it; services, process utilities and all that was started stay, so
/// no watched program is touched. Belongs to the thread of the plug-ins.
class Reload {
 public:
  /// What is told of a reload, and what it changes; all of it outlives this object.
  struct Parts {
    PluginLoader& plugins;
    ConfigManager& configuration;
    Roster& roster;
    ProcessUtilities const& utilities;
    MainLoop& loop;
    RecordJournal& journal;
    ServiceNotifier& notifier;
    spdlog::logger& log;
    spdlog::logger& checkLog;
  };

  /// @param setup that the host runs with.
  /// @param plan that the plug-ins were started with.
  Reload(DaemonSetup const& setup, WatchPlan plan, Parts parts);

  /// As `IChanges::reload` says. What is refused leaves all as it was, or brings it
  /// back.
  ApiResult run();

  /// Whether the plug-ins can be started neither with the new nor with the former
  /// configuration, or the former ones still run: the host is of no more use.
  bool isLost() const { return fIsLost; }

 private:
  ApiResult tryRun();
  void tell(std::function<void()> const& telling) const;
  ApiResult read();
  ApiResult apply(CheckedFile checked);
  bool restart(WatchPlan const& plan, std::string& cause);
  bool tryRestart(WatchPlan const& plan, std::string& cause);
  bool settle(WatchPlan const& plan) const;
  std::vector<std::string> needRestart(ConfigEntries const& host) const;
  void finish(ApiResult const& result);

  const Options fOptions;
  const std::vector<std::string> fPlugins;
  const ConfigEntries fHost;  ///< in force since the start
  WatchPlan fPlan;            ///< in force
  Parts fParts;
  bool fIsLost = false;
  bool fIsStopping = false;
};

/// Logs what the check alone reports.
void logFindings(Findings const& findings, spdlog::logger& log);
