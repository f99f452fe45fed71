#include "host/daemon/Daemon.h"

#include <fmt/format.h>
#include <unistd.h>

#include <utility>

#include "host/daemon/PluginLoader.h"
#include "host/daemon/ServiceNotifier.h"
#include "host/daemon/Services.h"

namespace {

/// Not a name of the C library's, whose texts are sentences ("Hangup").
const char* nameOf(int signal) {
  switch (signal) {
    case SIGTERM:
      return "SIGTERM";
    case SIGINT:
      return "SIGINT";
    default:
      return "SIGHUP";
  }
}

void logFindings(Findings const& findings, spdlog::logger& log) {
  for (Finding const& finding : findings) {
    if (finding.reporter != Reporter::check) continue;
    log.warn("{}{}", atPosition(finding.file, finding.position), finding.what);
  }
}

/// Runs the opened plug-ins. @return false when one of them cannot be started.
bool runPlugins(PluginLoader& plugins, Services const& services, spdlog::logger& log,
                StopSignals& signals, ServiceNotifier& notifier) {
  const bool started = plugins.start();
  services.configuration().reportUnused();
  if (started) {
    log.info("running: version {}, pid {}, plug-ins: {}", VESK_VERSION, ::getpid(),
             plugins.count());
    notifier.ready(fmt::format("running, version {}, plug-ins: {}", VESK_VERSION, plugins.count()));
    const int signal =
        signals.wait(notifier.feedInterval(), [&] { notifier.feed(services.utilities().finds()); });
    log.info("stopping: {}", nameOf(signal));
    notifier.stopping(fmt::format("stopping: {}", nameOf(signal)));
  }
  plugins.stop();
  return started;
}

}  // namespace

ExitCode runDaemon(DaemonSetup setup, std::shared_ptr<LogOutput> const& output,
                   StopSignals& signals) {
  const auto log = output->logger("veskd");
  if (::geteuid() != 0) {
    log->warn("not root: processes of other users can be watched but not ended");
  }
  // Before the services, so that the libraries are unloaded after them: events
  // on their way may carry objects of a plug-in.
  PluginLoader plugins(log);
  if (!plugins.open(setup.settings.plugins)) return ExitCode::pluginFailed;

  ServiceNotifier notifier(setup.serviceManager, log);
  logFindings(setup.findings, *output->logger("vesk.check"));
  bool started = false;
  {
    const Services services(
        setup.settings,
        {setup.settings.configDir, std::move(setup.mainFile), reportedKeys(setup.findings)},
        output);
    started = runPlugins(plugins, services, *log, signals, notifier);
  }
  if (!started) return ExitCode::pluginFailed;
  log->info("stopped");
  return ExitCode::stopped;
}
