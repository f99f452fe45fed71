#include "host/control/ControlServer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/control/MetricsSocket.h"
#include "host/control/Routes.h"

namespace {

/// Anyone may connect, but two collectors are many.
constexpr unsigned int kMetricsConnections = 8;

}  // namespace

ControlServer::ControlServer(ControlSources sources, std::shared_ptr<spdlog::logger> log)
    : fApi(std::move(sources)), fLog(std::move(log)) {}

ControlServer::~ControlServer() { fApi.sources().journal->close(); }

HttpListener::Handler ControlServer::guarded(HttpAnswer (ControlApi::*answer)(HttpRequest const&)
                                                 const) const {
  return [this, answer](HttpRequest const& request) {
    try {
      return (fApi.*answer)(request);
    } catch (std::bad_alloc const&) {
      throw;
    } catch (std::exception const& error) {
      fLog->error("a request failed: {}", error.what());
      return answerOf(ApiError{ApiError::Code::internal, error.what()});
    }
  };
}

bool ControlServer::openControl(ControlSettings const& settings, HttpLimits const& limits,
                                std::string& cause) {
  if (settings.socket.empty()) return true;
  fSocket = ControlSocket::open(settings, cause);
  if (fSocket == nullptr) return false;
  fControl = HttpListener::start(fSocket->take(), limits, guarded(&ControlApi::answer), cause);
  if (fControl == nullptr) return false;
  fLog->info("control socket: {}", settings.socket);
  return true;
}

bool ControlServer::openMetrics(ControlSettings const& settings, HttpLimits limits,
                                std::string& cause) {
  if (settings.metricsAddress.empty()) return true;
  limits.connections = std::min(limits.connections, kMetricsConnections);
  UniqueFd socket = openMetricsSocket(settings.metricsAddress, cause);
  if (!socket) return false;
  fMetrics = HttpListener::start(std::move(socket), limits, guarded(&ControlApi::answerMetricsOnly),
                                 cause);
  if (fMetrics == nullptr) return false;
  fLog->info("metrics: http://{}/metrics", settings.metricsAddress);
  return true;
}

std::unique_ptr<ControlServer> ControlServer::open(ControlSettings const& settings,
                                                   ControlSources sources,
                                                   std::shared_ptr<spdlog::logger> log,
                                                   std::string& cause, HttpLimits const& limits) {
  std::unique_ptr<ControlServer> server(new ControlServer(std::move(sources), std::move(log)));
  const bool isOpen =
      server->openControl(settings, limits, cause) && server->openMetrics(settings, limits, cause);
  return isOpen ? std::move(server) : nullptr;
}
