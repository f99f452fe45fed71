#include "host/daemon/Daemon.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/control/ControlServer.h"
#include "host/daemon/Changes.h"
#include "host/daemon/MainLoop.h"
#include "host/daemon/PluginLoader.h"
#include "host/daemon/Reload.h"
#include "host/daemon/ServiceNotifier.h"
#include "host/daemon/Services.h"
#include "host/daemon/Ticker.h"
#include "host/entries/Roster.h"
#include "host/metrics/Metrics.h"
#include "host/trust/TrustedPath.h"

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

/// Closes the loop, in whichever way its user ends.
struct Closing {
  explicit Closing(MainLoop& closed) : loop(closed) {}
  ~Closing() { loop.close(); }
  Closing(Closing const&) = delete;
  Closing& operator=(Closing const&) = delete;

  MainLoop& loop;
};

/// All that the daemon runs with, on the main thread. The parts end in the reverse
/// order of their making.
class Host {
 public:
  Host(DaemonSetup setup, std::shared_ptr<LogOutput> output, HostSignals const& signals);

  ExitCode run();

 private:
  ExitCode runPlugins(Services const& services);
  bool start(Services const& services, Roster& roster);
  ExitCode serve(Services const& services, Roster& roster, Reload& reload);
  ApiResult reloadOrEnd(Reload& reload);
  ControlSources sources(Services const& services) const;

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
      fPlan(planOf(fSetup.settings, fSetup.mainFile, fSetup.watchdog)),
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
    // The first process is root's, and always there.
    if (::access("/proc/1/stat", R_OK) != 0) {
      fLog->warn(
          "processes of other users are hidden (/proc is mounted with hidepid): they are not "
          "watched, and a program of which only they run instances counts as missing");
    }
  }
  if (const std::string users = ownersOfThisProgram(); !users.empty()) {
    fLog->warn(
        "this program, or a folder on its way, belongs to user {}: what is theirs is trusted",
        users);
  }
  if (!fPlugins.open(fSetup.settings.plugins)) return ExitCode::pluginFailed;
  logFindings(fSetup.watchdog.findings, *fCheckLog);
  ExitCode code{};
  bool isQuiet = false;
  {
    const Services services(fSetup.settings, fPlan.sources, fOutput);
    code = runPlugins(services);
    isQuiet = services.endEvents();
  }
  if (code == ExitCode::stopped) fLog->info("stopped");
  // A thread that is still in a plug-in would not survive the end of its library.
  if (!isQuiet) ::_exit(static_cast<int>(code));
  return code;
}

/// What operators are shown; what they can change is not in it.
ControlSources Host::sources(Services const& services) const {
  ControlSources sources;
  sources.facts = {VESK_VERSION, static_cast<unsigned int>(::getpid()),
                   std::chrono::floor<WallTime::duration>(std::chrono::system_clock::now()),
                   fSetup.options.configFile, fSetup.settings.plugins};
  sources.watch = [board = services.board()] { return board->view(); };
  sources.journal = services.journal();
  sources.counters = services.counters();
  sources.restarts = services.restarts();
  sources.metrics = makeMetrics(sources);
  return sources;
}

/// Runs the opened plug-ins until there is a reason to end.
ExitCode Host::runPlugins(Services const& services) {
  Roster roster(services.board(), services.journal(), fLog);
  Reload reload(fSetup, fPlan,
                {fPlugins, services.configuration(), roster, services.utilities(), fLoop,
                 *services.journal(), fNotifier, *fLog, *fCheckLog});
  ControlSources operators = sources(services);
  operators.changes = std::make_shared<Changes>(fLoop, roster, [&] { return reloadOrEnd(reload); });
  // Before anything is watched, and until it is no more: a start and a stop may take
  // long, too.
  std::string cause;
  const auto server = ControlServer::open(fSetup.settings.control, std::move(operators),
                                          fOutput->logger("vesk.control"), cause);
  if (server == nullptr) {
    fLog->error("{}", cause);
    return ExitCode::noOutput;
  }
  // Before the server: its connections may wait for the loop.
  const Closing closing(fLoop);
  const ExitCode code =
      start(services, roster) ? serve(services, roster, reload) : ExitCode::pluginFailed;
  fLoop.close();
  fPlugins.stop();
  return code;
}

bool Host::start(Services const& services, Roster& roster) {
  roster.announce(fPlan.facts);
  std::string cause;
  const bool isStarted = fPlugins.start(cause);
  services.configuration().reportUnused();
  if (!isStarted) return false;
  fLog->info("running: version {}, pid {}, plug-ins: {}", VESK_VERSION, ::getpid(),
             fPlugins.count());
  fNotifier.ready(fmt::format("running, version {}, plug-ins: {}", VESK_VERSION, fPlugins.count()));
  return true;
}

ExitCode Host::serve(Services const& services, Roster& roster, Reload& reload) {
  const Ticker life(fNotifier.feedInterval(), [&] {
    fNotifier.feed(roster.isAnythingLookedFor() ? services.utilities().finds() : 0);
  });
  // Only now: it waits for the first pass.
  roster.refresh();
  const int reason = fLoop.serve([&] { reloadOrEnd(reload); },
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

ApiResult Host::reloadOrEnd(Reload& reload) {
  ApiResult result = reload.run();
  if (reload.isLost()) fLoop.stop(kLost);
  return result;
}

}  // namespace

ExitCode runDaemon(DaemonSetup setup, std::shared_ptr<LogOutput> const& output,
                   HostSignals const& signals) {
  return Host(std::move(setup), output, signals).run();
}
