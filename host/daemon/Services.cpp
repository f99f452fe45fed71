#include "host/daemon/Services.h"

#include <unistd.h>

#include <utility>

#include "framework/PResult.h"
#include "host/libvesk/Runtime.h"
#include "host/services/EventDispatcher.h"
#include "host/services/ExtCounters.h"
#include "host/services/HoldRef.h"
#include "host/services/Logger.h"
#include "host/services/OsRestart.h"

namespace {

/// Makes room for this process's own descriptors; what it starts gets the limit
/// that it was itself started with, unless another is configured.
std::vector<ProgramLimit> programLimits(HostSettings const& settings) {
  const rlimit former = raiseDescriptorLimit();
  std::vector<ProgramLimit> limits = {{RLIMIT_NOFILE, former.rlim_cur, former.rlim_max}};
  limits.insert(limits.end(), settings.programLimits.begin(), settings.programLimits.end());
  return limits;
}

std::shared_ptr<ProcessUtilities> makeUtilities(HostSettings const& settings,
                                                LogOutput const& output) {
  ProcessSettings process;
  process.killGrace = settings.killGrace;
  process.programs = {settings.programOutput, settings.programEnvironment, programLimits(settings)};
  process.keptDescriptors = descriptorsToKeep();
  ProcessWorld world = ProcessWorld::real();
  if (!settings.processEvents) world.listen = nullptr;
  return std::make_shared<ProcessUtilities>(process, output.logger("vesk.process"),
                                            std::move(world));
}

RestartMeans restartMeans(HostSettings const& settings,
                          std::shared_ptr<ProcessUtilities> const& utilities) {
  return {settings.restartCommand,
          [utilities](std::string const& commandLine, unsigned int& pid) {
            return utilities->run(commandLine, pid);
          },
          [utilities](unsigned int pid) {
            bool isRunning = false;  // a stopped one has not ended either
            return utilities->isRunning(pid, isRunning) != PResult::notFound;
          },
          restartThisMachine, ::geteuid() == 0};
}

RestartClocks restartClocks() {
  const auto wall = [] {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  };
  return {ProcessWorld::real().clock, wall, readBootId()};
}

OsRestart* makeRestart(HostSettings const& settings,
                       std::shared_ptr<ProcessUtilities> const& utilities,
                       std::shared_ptr<spdlog::logger> const& log) {
  std::optional<RestartJournal> journal;
  if (!settings.stateDir.empty()) journal.emplace(settings.stateDir, log);
  return new OsRestart(restartMeans(settings, utilities), restartClocks(), settings.restartLimits,
                       std::move(journal), log);
}

}  // namespace

Services::Services(HostSettings const& settings, ConfigSources sources,
                   std::shared_ptr<LogOutput> const& output)
    : fConfigManager(holdRef(new ConfigManager(std::move(sources), output->logger("vesk.config")))),
      fUtilities(makeUtilities(settings, *output)) {
  Runtime::install(fUtilities);
  Runtime::provide(ID_ILOGGER, [output](IBase*& instance) {
    instance = new Logger(output);
    return PResult::ok;
  });
  Runtime::provide(ID_ICONFIGMANAGER, fConfigManager.get());
  Runtime::provide(ID_IEVENTDISPATCHER, new EventDispatcher(output->logger("vesk.events")));
  Runtime::provide(ID_IEXTCOUNTERS, new ExtCounters);
  Runtime::provide(ID_IOSRESTART,
                   makeRestart(settings, fUtilities, output->logger("vesk.restart")));
}

Services::~Services() { Runtime::reset(); }
