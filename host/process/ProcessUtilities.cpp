#include "host/process/ProcessUtilities.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PResult.h"
#include "host/process/CommandLine.h"
#include "host/process/ProcessHandle.h"
#include "host/process/StartableProgram.h"

namespace {

constexpr unsigned int kInitPid = 1;

/// The end of a message.
std::string asBecause(std::string const& reason) { return reason.empty() ? "" : ": " + reason; }

unsigned int systemSetting(int name) { return static_cast<unsigned int>(::sysconf(name)); }

}  // namespace

ProcessUtilities::ProcessUtilities(ProcessSettings settings, std::shared_ptr<spdlog::logger> log,
                                   ProcessWorld world)
    : fSettings(std::move(settings)),
      fLog(std::move(log)),
      fWorld(std::move(world)),
      fTree(fSettings.procRoot, fSettings.witness),
      fNameBudget(fSettings.keptDescriptors / 2),
      fStatBudget(fSettings.keptDescriptors - fSettings.keptDescriptors / 2),
      fNames(fTree, fNameBudget, fWorld.listen),
      fKnown(fTree, *fWorld.clock, fStatBudget, systemSetting(_SC_CLK_TCK)),
      fFinder(fTree, *fWorld.clock, fNames, fKnown),
      fReaper(fLog) {}

int ProcessUtilities::find(std::string const& name, std::vector<unsigned int>& pids,
                           std::vector<unsigned int>& parentPids) {
  fFinds.fetch_add(1, std::memory_order_relaxed);
  const std::lock_guard lock(fMutex);
  fKilledSinceFind.clear();
  fRefusedSinceFind = 0;
  const int res = pGuarded([&] { return fFinder.find(name, pids, parentPids); });
  noteLook(fFinder.lookResult());
  return res;
}

/// Every entry fails by a table that cannot be read; it is said once.
void ProcessUtilities::noteLook(int res) {
  const bool isRead = res == PResult::ok;
  if (std::exchange(fIsTableRead, isRead) == isRead) return;
  if (!isRead) {
    // A warning, since it is to be said of every time.
    fLog->warn("the process table {} cannot be read: {}: nothing is judged by it",
               fSettings.procRoot, std::strerror(-res));
  } else {
    fLog->warn("the process table {} can be read again", fSettings.procRoot);
  }
}

int ProcessUtilities::getCPUUsage(unsigned int pid, unsigned int& percent) {
  const std::lock_guard lock(fMutex);
  KnownProcesses::Process* process = nullptr;
  const int res = fKnown.ask(pid, KnownProcesses::kCpu, process);
  if (res != PResult::ok) return res;
  if (process->reading.stat.isDead()) return PResult::notFound;
  percent = process->cpuMeter.measure(process->reading);
  return PResult::ok;
}

int ProcessUtilities::getMemoryUsage(unsigned int pid, unsigned long long& kib) {
  const std::lock_guard lock(fMutex);
  KnownProcesses::Process* process = nullptr;
  const int res = fKnown.ask(pid, KnownProcesses::kMemory, process);
  if (res != PResult::ok) return res;
  if (process->reading.stat.isDead()) return PResult::notFound;
  constexpr unsigned long long kKib = 1024;
  kib = process->reading.stat.residentPages * systemSetting(_SC_PAGESIZE) / kKib;
  return PResult::ok;
}

int ProcessUtilities::isRunning(unsigned int pid, bool& running) {
  const std::lock_guard lock(fMutex);
  KnownProcesses::Process* process = nullptr;
  const int res = fKnown.ask(pid, KnownProcesses::kIsRunning, process);
  if (res == PResult::ok) running = process->reading.stat.isRunning();
  return res;
}

bool ProcessUtilities::isUntouchable(unsigned int pid, ProcessStat const& stat) const {
  return pid <= kInitPid || pid == static_cast<unsigned int>(::getpid()) || stat.isKernelThread();
}

int ProcessUtilities::hold(unsigned int pid, ProcessHandle& process, ProcessStat& stat) {
  const std::lock_guard lock(fMutex);
  const auto look = [this](unsigned int number, ProcessStat& seen) {
    return fKnown.confirm(number, seen);
  };
  return ProcessHandle::open(fTree, *fWorld.signals, pid, look, process, stat);
}

int ProcessUtilities::kill(unsigned int pid) {
  // Above this a number would be taken for a group of processes, or for all.
  if (pid > INT_MAX) return PResult::notFound;
  ProcessHandle process;
  ProcessStat stat;
  int res = pid == 0 ? PResult::ok : hold(pid, process, stat);
  if (res != PResult::ok) return res;
  if (isUntouchable(pid, stat)) {
    noteUnended(pid, fmt::format("process {} ({}) is never signalled", pid, stat.comm));
    return -EPERM;
  }
  if (std::string reason; isPretended(reason)) return pretendToEnd(process, stat, reason);
  {
    // Before the signal, so that no start forgets to wait; what is not being ended
    // is not waited for.
    const std::lock_guard lock(fMutex);
    fKilledSinceFind.push_back(pid);
  }
  res = fReaper.end(std::move(process), stat.comm, fSettings.killGrace);
  logUnended(res, pid, stat);
  return res;
}

void ProcessUtilities::logUnended(int res, unsigned int pid, ProcessStat const& stat) {
  if (res == PResult::ok || res == PResult::notFound) return;
  noteUnended(
      pid, fmt::format("process {} ({}) cannot be ended: {}", pid, stat.comm, std::strerror(-res)));
}

void ProcessUtilities::noteUnended(unsigned int pid, std::string const& what) {
  logOnce(what);
  const std::lock_guard lock(fMutex);
  fRefusedSinceFind = pid;
}

/// What is tried again at every sample is not said again at every sample.
void ProcessUtilities::logOnce(std::string const& what) {
  constexpr std::size_t kMostSaid = 1024;
  {
    const std::lock_guard lock(fMutex);
    if (fSaid.size() >= kMostSaid) fSaid.clear();
    if (!fSaid.insert(what).second) return;
  }
  fLog->error("{}", what);
}

int ProcessUtilities::pretendToEnd(ProcessHandle const& process, ProcessStat const& stat,
                                   std::string const& reason) {
  constexpr int kNoSignal = 0;  // whether it may be signalled, and nothing else
  const int res = process.send(kNoSignal);
  logUnended(res, process.pid(), stat);
  if (res != PResult::ok) return res;
  fLog->warn("dry run: would have ended process {} ({}){}", process.pid(), stat.comm,
             asBecause(reason));
  return PResult::ok;
}

int ProcessUtilities::start(std::string const& executable, std::string const& arguments,
                            std::string const& workingDir, unsigned int& pid) {
  if (const unsigned int refused = takeRefused(); refused != 0) {
    logOnce(
        fmt::format("not starting {}: process {} before it cannot be ended", executable, refused));
    return -EPERM;
  }
  if (const unsigned int lasting = fReaper.awaitEnded(takeKilled()); lasting != 0) {
    fLog->error("not starting {}: process {} before it has not ended", executable, lasting);
    return -EBUSY;
  }
  if (executable.empty()) {
    fLog->error("nothing to start: no executable is configured");
    return -EINVAL;
  }
  SpawnRequest request{executable, {}, workingDir, fSettings.programs};
  if (!splitCommandLine(arguments, request.arguments)) {
    fLog->error("not starting {}: a quote is not closed in its arguments: {}", executable,
                arguments);
    return -EINVAL;
  }
  if (std::string reason; isPretended(reason)) {
    pid = 0;
    return pretendToStart(request, arguments, reason);
  }
  return launch(request, pid);
}

int ProcessUtilities::pretendToStart(SpawnRequest const& request, std::string const& arguments,
                                     std::string const& reason) const {
  std::string const& folder = request.workingDir;
  StartObstacle obstacle;
  if (std::error_code error; !folder.empty() && !std::filesystem::is_directory(folder, error)) {
    const auto cause = error ? error : std::make_error_code(std::errc::not_a_directory);
    obstacle = {cause.value(), "cannot enter " + folder + ": " + cause.message()};
  } else {
    obstacle = StartableProgram(request.executable, folder).obstacle();
  }
  if (obstacle.error != 0) {
    fLog->error("dry run: program {} cannot be started: {}", request.executable, obstacle.text);
    return -obstacle.error;
  }
  fLog->warn("dry run: would have started {}{}{}{}", request.executable,
             arguments.empty() ? "" : " ", arguments, asBecause(reason));
  return PResult::ok;
}

int ProcessUtilities::run(std::string const& commandLine, unsigned int& pid) {
  SpawnRequest request{{}, {}, {}, fSettings.programs};
  auto& words = request.arguments;
  if (!splitCommandLine(commandLine, words) || words.empty()) {
    fLog->error("cannot be run, empty or a quote is not closed: {}", commandLine);
    return -EINVAL;
  }
  request.executable = words.front();
  words.erase(words.begin());
  return launch(request, pid);
}

/// Takes note of a child before it can be reaped, while the number is certainly its
/// own. Without memory for that it is found like any other process.
void ProcessUtilities::note(unsigned int pid) noexcept {
  try {
    const std::lock_guard lock(fMutex);
    KnownProcesses::Process const* process = nullptr;
    const auto anyState = [](unsigned int, ProcessStat const&) { return PResult::ok; };
    static_cast<void>(fKnown.bind(pid, anyState, process));
    fFinder.add(pid);
  } catch (std::bad_alloc const&) {
  }
}

int ProcessUtilities::launch(SpawnRequest const& request, unsigned int& pid) {
  fReaper.makeRoom();
  const SpawnOutcome outcome = fWorld.spawner->spawn(request);
  if (outcome.error != 0) {
    fLog->error("program {} {}: {}", request.executable, outcome.cause,
                std::strerror(outcome.error));
    return -outcome.error;
  }
  if (!outcome.cause.empty()) fLog->warn("program {}: {}", request.executable, outcome.cause);
  pid = outcome.pid;
  fStartedAt = fWorld.clock->sinceBoot();
  UniqueFd descriptor;
  // Without one the child is looked for now and then.
  static_cast<void>(fWorld.signals->open(pid, descriptor));
  note(pid);
  fReaper.adopt(pid, std::move(descriptor), request.executable);
  return PResult::ok;
}

std::optional<std::chrono::microseconds> ProcessUtilities::sinceLastStart() const {
  const std::chrono::microseconds startedAt = fStartedAt;
  if (startedAt.count() == 0) return std::nullopt;
  return fWorld.clock->sinceBoot() - startedAt;
}

unsigned int ProcessUtilities::takeRefused() {
  const std::lock_guard lock(fMutex);
  return std::exchange(fRefusedSinceFind, 0);
}

std::vector<unsigned int> ProcessUtilities::takeKilled() {
  const std::lock_guard lock(fMutex);
  return std::exchange(fKilledSinceFind, {});
}
