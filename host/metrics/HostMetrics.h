#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "host/control/ControlSources.h"
#include "host/metrics/Exposition.h"
#include "host/metrics/OwnUsage.h"

/// What the metrics of one moment are made of, but for those of the entries.
struct HostMoment {
  HostFacts const& facts;
  WatchView watch;
  RestartState restarts;
  OwnUsage usage;
  WallTime now;
  std::uint64_t records = 0;  ///< made since the host started
};

/// Adds what concerns the host as a whole.
void addHost(Exposition& exposition, HostMoment const& moment);

/// Adds the external counters, each as a metric of its own. "wd_proc_count" is among
/// them even before it is first incremented.
void addCounters(Exposition& exposition, std::map<std::string, unsigned long long> const& counters);
