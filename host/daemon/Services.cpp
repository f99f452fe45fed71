#include "host/daemon/Services.h"

#include <unistd.h>

#include <utility>

#include "framework/PResult.h"
#include "host/HoldRef.h"
#include "host/libvesk/Runtime.h"
#include "host/services/Logger.h"
#include "host/watch/ObservedUtilities.h"
#include "host/watch/RecordedServices.h"

namespace {

constexpr const char* kWatchdogCounter = "wd_proc_count";

/// Makes room for this process's own descriptors; what it starts gets the limit
/// that it was itself started with, unless another is configured.
std::vector<ProgramLimit> programLimits(HostSettings const& settings) {
  const rlimit former = raiseDescriptorLimit();
  std::vector<ProgramLimit> limits = {{RLIMIT_NOFILE, former.rlim_cur, former.rlim_max}};
  limits.insert(limits.end(), settings.programLimits.begin(), settings.programLimits.end());
  return limits;
}

std::shared_ptr<ProcessUtilities> makeUtilities(HostSettings const& settings,
                                                LogOutput const& output,
                                                std::shared_ptr<WatchBoard> const& board) {
  ProcessSettings process;
  process.witness = static_cast<unsigned int>(::getpid());
  process.killGrace = settings.killGrace;
  process.programs = {settings.programOutput, settings.programEnvironment, programLimits(settings)};
  process.keptDescriptors = descriptorsToKeep();
  ProcessWorld world = ProcessWorld::real();
  if (!settings.processEvents) world.listen = nullptr;
  world.pretend = [board](std::string& reason) { return board->pretend(reason); };
  return std::make_shared<ProcessUtilities>(process, output.repetitiveLogger("vesk.process"),
                                            std::move(world));
}

RestartMeans restartMeans(HostSettings const& settings,
                          std::shared_ptr<ProcessUtilities> const& utilities,
                          std::shared_ptr<WatchBoard> const& board) {
  return {settings.restartCommand,
          [utilities](std::string const& commandLine, unsigned int& pid) {
            return utilities->run(commandLine, pid);
          },
          [utilities](unsigned int pid) {
            bool isRunning = false;  // a stopped one has not ended either
            return utilities->isRunning(pid, isRunning) != PResult::notFound;
          },
          restartThisMachine,
          ::geteuid() == 0,
          [board] { return board->causeOfRestart(); },
          [board] {
            std::string reason;  // is the cause
            return board->pretend(reason);
          }};
}

RestartClocks restartClocks() {
  const auto wall = [] {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  };
  return {ProcessWorld::real().clock, wall, readBootId()};
}

OsRestart* makeRestart(HostSettings const& settings,
                       std::shared_ptr<ProcessUtilities> const& utilities,
                       std::shared_ptr<WatchBoard> const& board,
                       std::shared_ptr<spdlog::logger> const& log) {
  std::optional<RestartJournal> journal;
  if (!settings.stateDir.empty()) journal.emplace(settings.stateDir, log);
  return new OsRestart(restartMeans(settings, utilities, board), restartClocks(),
                       settings.restartLimits, std::move(journal), log);
}

}  // namespace

Services::Services(HostSettings const& settings, ConfigSources sources,
                   std::shared_ptr<LogOutput> const& output)
    : fJournal(std::make_shared<RecordJournal>()),
      fBoard(std::make_shared<WatchBoard>(fJournal)),
      fUtilities(makeUtilities(settings, *output, fBoard)),
      fEvents(holdRef(new EventDispatcher(output->logger("vesk.events")))),
      fCounters(holdRef(new ExtCounters)),
      fRestart(holdRef(makeRestart(settings, fUtilities, fBoard, output->logger("vesk.restart")))) {
  fConfigManager = holdRef(new ConfigManager(std::move(sources), output->logger("vesk.config")));
  Runtime::install(std::make_shared<ObservedUtilities>(fUtilities, fBoard));
  Runtime::provide(ID_ILOGGER, [output](IBase*& instance) {
    instance = new Logger(output);
    return PResult::ok;
  });
  Runtime::provide(ID_ICONFIGMANAGER, fConfigManager.get());
  Runtime::provide(ID_IEVENTDISPATCHER, new RecordedEvents(fEvents.get(), fBoard));
  Runtime::provide(ID_IEXTCOUNTERS, fCounters.get());
  Runtime::provide(ID_IOSRESTART, new RecordedRestart(fRestart.get(), fBoard));
}

Services::~Services() {
  Runtime::reset();
  fEvents->close();
  fJournal->close();
}

std::function<std::map<std::string, unsigned long long>()> Services::counters() const {
  return [counters = fCounters] {
    auto values = counters->values();
    // There from the start, for whoever draws or compares it.
    values.try_emplace(kWatchdogCounter, 0);
    return values;
  };
}

std::function<RestartState()> Services::restarts() const {
  return [restart = fRestart] { return restart->state(); };
}
