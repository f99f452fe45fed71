#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "host/control/ControlSources.h"
#include "host/control/HttpMessages.h"
#include "host/control/NameMatch.h"
#include "host/control/RecentText.h"
#include "host/process/ProcessTree.h"

/// The control API of docs/control-api.md. Any thread may call.
class ControlApi {
 public:
  explicit ControlApi(ControlSources sources);

  /// Answers a request; errors are answers too. Throws when memory runs out.
  HttpAnswer answer(HttpRequest const& request) const;

  /// The same for the metrics alone.
  HttpAnswer answerMetricsOnly(HttpRequest const& request) const;

  ControlSources const& sources() const { return fSources; }
  ProcessTree const& processes() const { return fProcesses; }

  /// As `matchName`, one at a time: the others wait, so that the process table is
  /// read by one thread at most, however many ask.
  int match(std::string const& name, std::optional<unsigned int> asker, NameMatches& matches) const;

  /// A second old at most.
  std::string metrics() const { return fMetrics.get(); }

  /// Of the host; nobody sets the clock that it is told by.
  std::chrono::milliseconds uptime() const;

 private:
  const ControlSources fSources;
  const ProcessTree fProcesses;
  const std::chrono::steady_clock::time_point fHostStart;
  mutable RecentText fMetrics;
  mutable std::mutex fMatching;
};
