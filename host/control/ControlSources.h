#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/control/IChanges.h"
#include "host/services/OsRestart.h"
#include "host/watch/RecordJournal.h"
#include "host/watch/WatchView.h"

/// What the host is and was started with.
struct HostFacts {
  std::string version;
  unsigned int pid = 0;
  WallTime startedAt{};
  std::string configFile;  ///< empty for none
  std::vector<std::string> plugins;
};

/// Where the control API takes its answers from. All of it may be called from any
/// thread, and but for `changes` nothing waits for the watchdog.
struct ControlSources {
  HostFacts facts;
  std::function<WatchView()> watch;
  std::shared_ptr<RecordJournal> journal;
  std::function<std::map<std::string, unsigned long long>()> counters;
  std::function<RestartState()> restarts;
  std::function<std::string()> metrics;  ///< in the text format of Prometheus
  std::shared_ptr<IChanges> changes;
  std::string procRoot = "/proc";

  /// The clock that nobody sets.
  std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
};
