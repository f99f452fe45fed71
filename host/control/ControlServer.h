#pragma once

#include <spdlog/logger.h>

#include <memory>
#include <string>

#include "host/control/ControlApi.h"
#include "host/control/ControlSettings.h"
#include "host/control/ControlSocket.h"
#include "host/control/HttpListener.h"

/// Lets operators see and change what the host does: the control API on a UNIX
/// socket, and the metrics on a TCP port, each where it is configured.
class ControlServer {
 public:
  /// @return null, with the reason in `cause`, when something that is configured
  ///         cannot be opened.
  static std::unique_ptr<ControlServer> open(ControlSettings const& settings,
                                             ControlSources sources,
                                             std::shared_ptr<spdlog::logger> log,
                                             std::string& cause, HttpLimits const& limits = {});

  /// Closes the journal, which ends the streams, and waits for the handlers. Changes
  /// that wait must be told to give up before, or this waits for them too.
  ~ControlServer();
  ControlServer(ControlServer const&) = delete;
  ControlServer& operator=(ControlServer const&) = delete;

 private:
  ControlServer(ControlSources sources, std::shared_ptr<spdlog::logger> log);

  bool openControl(ControlSettings const& settings, HttpLimits const& limits, std::string& cause);
  bool openMetrics(ControlSettings const& settings, HttpLimits limits, std::string& cause);

  /// A handler that logs what should not have happened.
  HttpListener::Handler guarded(HttpAnswer (ControlApi::*answer)(HttpRequest const&) const) const;

  const ControlApi fApi;
  const std::shared_ptr<spdlog::logger> fLog;
  std::unique_ptr<ControlSocket> fSocket;
  std::unique_ptr<HttpListener> fControl;
  std::unique_ptr<HttpListener> fMetrics;
};
