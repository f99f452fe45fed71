#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "host/control/ControlSources.h"
#include "host/metrics/OwnUsage.h"
#include "host/services/OsRestart.h"
#include "host/watch/RecordJournal.h"
#include "host/watch/WatchView.h"

/// What the metrics are made of. All of it may be called from any thread, and
/// nothing waits for the watchdog.
struct MetricsSources {
  HostFacts facts;
  std::function<WatchView()> watch;
  std::shared_ptr<RecordJournal const> journal;
  std::function<std::map<std::string, unsigned long long>()> counters;
  std::function<RestartState()> restarts;
  std::function<OwnUsage()> usage = readOwnUsage;
  std::function<WallTime()> wallTime = [] {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  };
};

/// Makes the metrics of docs/metrics.md, in version 0.0.4 of the text format of
/// Prometheus, whose media type is "text/plain; version=0.0.4". They are made anew
/// each time, so what is gone leaves nothing behind. Any thread may call.
class Metrics {
 public:
  explicit Metrics(MetricsSources sources);

  std::string text() const;

 private:
  MetricsSources fSources;
};

/// What `ControlSources::metrics` is to be, made of the other sources there.
std::function<std::string()> makeMetrics(ControlSources const& sources);
