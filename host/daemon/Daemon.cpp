#include "host/daemon/Daemon.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/daemon/MainLoop.h"
#include "host/daemon/PluginLoader.h"
#include "host/daemon/Reload.h"
#include "host/daemon/ServiceNotifier.h"
#include "host/daemon/Services.h"
#include "host/daemon/Ticker.h"
#include "host/entries/Roster.h"

namespace {

/// In place of a signal's number: the plug-ins do not run any more.
constexpr int kLost = 0;

/// Not a name of the C library's, whose texts are sentences ("Terminated").
const char* nameOf(int reason) {
  switch (reason) {
    case SIGTERM:
      return "SIGTERM";
    case SIGINT:
      return "SIGINT";
    default:
      return "the plug-ins cannot go on";
  }
}

/// All that the daemon runs with, on the main thread. The parts end in the reverse
/// order of their making.
class Host {
 public:
  Host(DaemonSetup setup, std::shared_ptr<LogOutput> output, HostSignals const& signals);

  ExitCode run();

 private:
  ExitCode runPlugins(Services const& services);
  ExitCode serve(Services const& services, Roster& roster);

  const DaemonSetup fSetup;
  const WatchPlan fPlan;
  const std::shared_ptr<LogOutput> fOutput;
  const std::shared_ptr<spdlog::logger> fLog;
  const std::shared_ptr<spdlog::logger> fCheckLog;
  MainLoop fLoop;
  SignalThread fSignals;
  // Before the services, so that the libraries are unloaded after them: events
  // on their way may carry objects of a plug-in.
  PluginLoader fPlugins;
  ServiceNotifier fNotifier;
};

Host::Host(DaemonSetup setup, std::shared_ptr<LogOutput> output, HostSignals const& signals)
    : fSetup(std::move(setup)),
      fPlan(planOf(fSetup.settings, fSetup.mainFile, fSetup.findings)),
      fOutput(std::move(output)),
      fLog(fOutput->logger("veskd")),
      fCheckLog(fOutput->logger("vesk.check")),
      fSignals(
          signals, [this](int number) { fLoop.stop(number); }, [this] { fLoop.askToReload(); }),
      fPlugins(fLog),
      fNotifier(fSetup.serviceManager, fLog) {}

ExitCode Host::run() {
  if (::geteuid() != 0) {
    fLog->warn("not root: processes of other users can be watched but not ended");
  }
  if (!fPlugins.open(fSetup.settings.plugins)) return ExitCode::pluginFailed;
  logFindings(fSetup.findings, *fCheckLog);
  ExitCode code{};
  {
    const Services services(fSetup.settings, fPlan.sources, fOutput);
    code = runPlugins(services);
  }
  if (code == ExitCode::stopped) fLog->info("stopped");
  return code;
}

/// Starts the opened plug-ins and serves until there is a reason to end.
ExitCode Host::runPlugins(Services const& services) {
  Roster roster(services.board(), services.journal(), fLog);
  roster.announce(fPlan.facts);
  std::string cause;
  const bool started = fPlugins.start(cause);
  services.configuration().reportUnused();
  ExitCode code = ExitCode::pluginFailed;
  if (started) {
    fLog->info("running: version {}, pid {}, plug-ins: {}", VESK_VERSION, ::getpid(),
               fPlugins.count());
    fNotifier.ready(
        fmt::format("running, version {}, plug-ins: {}", VESK_VERSION, fPlugins.count()));
    const Ticker life(fNotifier.feedInterval(), [&] {
      fNotifier.feed(roster.isAnythingLookedFor() ? services.utilities().finds() : 0);
    });
    // Only now: it waits for the first pass.
    roster.refresh();
    code = serve(services, roster);
  }
  fPlugins.stop();
  return code;
}

ExitCode Host::serve(Services const& services, Roster& roster) {
  Reload reload(fSetup, fPlan,
                {fPlugins, services.configuration(), roster, *services.journal(), fNotifier, *fLog,
                 *fCheckLog});
  const auto reloadOrEnd = [this, &reload] {
    ApiResult result = reload.run();
    if (reload.isLost()) fLoop.stop(kLost);
    return result;
  };
  const int reason = fLoop.serve([&] { reloadOrEnd(); },
                                 {std::chrono::seconds(1), [&] { roster.resolveDoubts(); }});
  const char* name = nameOf(reason);
  if (reason == kLost) {
    fLog->error("stopping: {}", name);
  } else {
    fLog->info("stopping: {}", name);
  }
  fNotifier.stopping(fmt::format("stopping: {}", name));
  return reason == kLost ? ExitCode::pluginFailed : ExitCode::stopped;
}

}  // namespace

ExitCode runDaemon(DaemonSetup setup, std::shared_ptr<LogOutput> const& output,
                   HostSignals const& signals) {
  return Host(std::move(setup), output, signals).run();
}
