// A configuration file through all that reads it: the check, the start of the host and the
// watchdog itself, which must agree.

#include <algorithm>

#include "framework/IConfigManager.h"
#include "framework/PResult.h"
#include "fuzz/Fuzz.h"
#include "host/HoldRef.h"
#include "host/check/WatchdogKeys.h"
#include "host/daemon/Setup.h"
#include "host/daemon/WatchPlan.h"
#include "host/entries/Watchdog.h"
#include "host/libvesk/Runtime.h"
#include "host/services/EventDispatcher.h"
#include "host/services/ExtCounters.h"
#include "host/services/Logger.h"
#include "plugin/PProcessWatchdogPlugin.h"
#include "tests/host/process/TemporaryFolder.h"
#include "tests/host/services/CollectedLog.h"

namespace {

/// Nobody runs, and nothing is started.
struct NoProcesses : IProcessUtilities {
  using Pid = unsigned int;
  using Text = std::string const&;
  int find(Text, std::vector<Pid>&, std::vector<Pid>&) override { return PResult::notFound; }
  int getCPUUsage(Pid, unsigned int&) override { return PResult::notFound; }
  int getMemoryUsage(Pid, unsigned long long&) override { return PResult::notFound; }
  int isRunning(Pid, bool&) override { return PResult::notFound; }
  int kill(Pid) override { return PResult::notFound; }
  int start(Text, Text, Text, Pid&) override { return PResult::notFound; }
};

/// Or where the text ends, behind its last newline.
bool isInside(std::string_view text, FilePosition at) {
  Input rest(text);
  for (unsigned int line = 1; line < at.line; ++line) {
    if (rest.rest().find('\n') == std::string_view::npos) return false;
    rest.upTo("\n");
  }
  return at.line >= 1 && at.column >= 1 && at.column <= rest.upTo("\n").size() + 2;
}

void requireInRange(HostSettings const& settings) {
  REQUIRE(settings.killGrace.count() >= 0 && settings.killGrace <= std::chrono::minutes(10));
  REQUIRE(settings.restartLimits.limit <= 100 && settings.restartLimits.window.count() >= 1);
  for (auto const& limit : settings.programLimits) REQUIRE(limit.soft <= limit.hard);
  for (auto const& variable : settings.programEnvironment) {
    REQUIRE(variable.find('=') - 1 < variable.size() && variable.find('\0') == std::string::npos);
  }
  for (auto const& path : {settings.log.file, settings.configDir, settings.control.socket}) {
    REQUIRE(path.empty() || path.starts_with('/'));
  }
}

/// All that both sides know of an entry.
auto fieldsOf(EntrySettings const& e) {
  return std::tie(e.name, e.period, e.cpuEnabled, e.cpuLimit, e.memEnabled, e.memLimit,
                  e.instEnabled, e.instLimit, e.respawnEnabled, e.respawnLimit,
                  e.countOnlyDiffParents, e.countOnlyRunning, e.sendEvent, e.action, e.executable,
                  e.arguments, e.workingDir);
}

/// @return whether the watchdog starts, and then has what the host takes it to have.
bool startsWith(WatchPlan const& plan) {
  const CollectedLog log;
  const auto config = holdRef(new ConfigManager(plan.sources, log.logger()));
  const auto logger = holdRef(new Logger(log.output()));
  const auto counters = holdRef(new ExtCounters);
  static const CollectedLog unused;
  static const auto events = holdRef(new EventDispatcher(unused.logger()));
  Runtime::install(std::make_shared<NoProcesses>());
  Runtime::provide(ID_ILOGGER, logger.get());
  Runtime::provide(ID_ICONFIGMANAGER, config.get());
  Runtime::provide(ID_IEVENTDISPATCHER, events.get());
  Runtime::provide(ID_IEXTCOUNTERS, counters.get());
  const auto plugin = holdRef(veskGetPlugin());
  const bool isStarted = plugin->init() == PResult::ok;
  IBase* instance = nullptr;
  if (isStarted) plugin->getInstance(ID_IPROCESSWATCHDOG, instance);
  for (EntrySettings const& entry : plan.facts.entries) {
    if (!isStarted || entry.name.empty()) continue;  // nobody may ask for the empty name
    const auto watched = settingsOf(*static_cast<IProcessWatchdog*>(instance), entry.name);
    REQUIRE(watched && fieldsOf(*watched) == fieldsOf(entry));
    REQUIRE(entry.period >= 1 && entry.cpuLimit <= 100 && entry.respawnLimit != 0);
  }
  for (std::string const& line : log.lines()) REQUIRE(printable(line) == line);
  Runtime::reset();
  return isStarted;
}

/// Whether it is said of a file that is not there: the start meets that later.
bool isOfAnotherFile(Finding const& finding) {
  return finding.what.starts_with("`host.plugins' contains \"") ||
         finding.what.ends_with("whose folder is not there: the host does not start");
}

}  // namespace

FUZZ_TARGET(configuration) {
  static const TemporaryFolder folder;
  Options options;
  options.configFile = folder.path("v.toml");
  options.plugins = {"libveskp.watchdog.process.so"};
  folder.makeFile("v.toml", std::string(input));
  const auto checked = readChecked(options.configFile, options.plugins);
  const auto setup = readSetup(options);
  if (auto const* failure = std::get_if<TomlFailure>(&checked)) {
    REQUIRE(failure->code == -EFBIG || isInside(input, failure->position));
    REQUIRE(std::get<Failure>(setup).lines == std::vector{failure->message});
    return;
  }
  auto const& findings = std::get<CheckedFile>(checked).watchdog.findings;
  for (Finding const& finding : findings) {
    REQUIRE(finding.file != options.configFile || isInside(input, finding.position));
    REQUIRE(!finding.what.empty());
  }
  const bool isRight = !hasError(findings);
  auto const* host = std::get_if<DaemonSetup>(&setup);
  REQUIRE(host != nullptr || !isRight);
  if (host == nullptr) return;
  requireInRange(host->settings);
  const bool isStarted = startsWith(planOf(host->settings, host->mainFile, host->watchdog));
  REQUIRE(!isRight || isStarted);
  REQUIRE(!isStarted || std::ranges::all_of(findings, [](Finding const& finding) {
    return finding.severity == Severity::warning || isOfAnotherFile(finding);
  }));
}
