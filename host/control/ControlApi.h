#pragma once

#include <chrono>

#include "host/control/ControlSources.h"
#include "host/control/HttpMessages.h"
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

  /// Of the host; nobody sets the clock that it is told by.
  std::chrono::milliseconds uptime() const;

 private:
  const ControlSources fSources;
  const ProcessTree fProcesses;
  const std::chrono::steady_clock::time_point fHostStart;
};
