#include "host/services/OsRestart.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/reboot.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "framework/PGuard.h"

namespace {

std::string causeOf(int res) { return std::generic_category().message(-res); }

}  // namespace

OsRestart::OsRestart(RestartMeans means, RestartClocks clocks, RestartLimits limits,
                     std::optional<RestartJournal> journal, std::shared_ptr<spdlog::logger> log)
    : fMeans(std::move(means)),
      fClocks(std::move(clocks)),
      fLimits(limits),
      fLog(std::move(log)),
      fJournal(std::move(journal)) {
  if (!fJournal) return;
  auto [past, isWhole] = fJournal->load();
  fState.past = std::move(past);
  fIsPastKnown = isWhole;
  logLastRestart();
}

void OsRestart::logLastRestart() const {
  if (fState.past.empty() || fState.past.back().at.bootId == fClocks.bootId) return;
  auto const& [at, cause] = fState.past.back();
  fLog->info(
      "the last restart of the operating system was requested at {:%Y-%m-%d %H:%M:%S} UTC: {}",
      fmt::gmtime(at.time), cause);
}

RestartMoment OsRestart::now() const {
  return {fClocks.wall(), std::chrono::floor<std::chrono::seconds>(fClocks.sinceBoot->sinceBoot()),
          fClocks.bootId};
}

RestartState OsRestart::state() const {
  const RestartMoment moment = now();
  const std::lock_guard lock(fMutex);
  RestartState state = fState;
  state.limit = fLimits.limit;
  state.inWindow = static_cast<unsigned int>(std::ranges::count_if(
      state.past, [&](auto const& each) { return ageOf(each, moment) < fLimits.window; }));
  return state;
}

int OsRestart::restart(int mode) {
  return pGuarded([&] {
    if (mode != 0) {
      fLog->error("operating-system restart refused: there is no mode {}", mode);
      return -EINVAL;
    }
    const std::string cause = fMeans.cause ? fMeans.cause() : "";
    if (!cause.empty()) return request(cause);
    return request(fmt::format("requested by a plug-in (argument {})", mode));
  });
}

int OsRestart::request(std::string const& cause) {
  return pGuarded([&] {
    const RestartMoment moment = now();
    std::vector<PastRestart> past;
    {
      const std::lock_guard lock(fMutex);
      if (const auto answer = answerAtOnce(moment)) return *answer;
      if (fMeans.isPretended && fMeans.isPretended()) {
        fLog->warn("dry run: would have restarted the operating system: {}", cause);
        return PResult::ok;
      }
      past = add(moment, cause);
      fIsBeingMade = true;
    }
    unsigned int pid = 0;
    const int res = pGuarded([&] { return make(std::move(past), moment, pid); });
    const std::lock_guard lock(fMutex);
    settle(res, moment.uptime, pid);
    return res;
  });
}

/// What can be said without making anything; nothing if a restart is to be made.
std::optional<int> OsRestart::answerAtOnce(RestartMoment const& moment) {
  if (isUnderWay(moment)) return PResult::ok;
  if (!fJournal && !std::exchange(fIsForgetfulnessLogged, true)) {
    fLog->warn(
        "no state_dir is set: restarts are forgotten with the end of this host, so that "
        "from boot to boot only restart_min_uptime holds them back");
  }
  if (fFailure && moment.uptime < fFailure->uptime + kPause) return fFailure->code;
  if (const auto refusal = refusalAt(moment)) return refuse(*refusal, moment);
  return std::nullopt;
}

bool OsRestart::isUnderWay(RestartMoment const& moment) {
  if (fIsBeingMade) return true;
  if (!fBegun) return false;
  // Asked no more once it has ended: its number may come to another process.
  if (fBegun->pid != 0 && !fMeans.isRunning(fBegun->pid)) fBegun->pid = 0;
  if (fBegun->pid == 0 && moment.uptime >= fBegun->uptime + kTimeToGoDown) {
    fLog->error("the machine did not go down in the {} s since its restart was begun",
                (moment.uptime - fBegun->uptime).count());
    fBegun.reset();
    return false;
  }
  if (!std::exchange(fBegun->isRepeatLogged, true)) {
    fLog->warn("operating-system restart: already under way, not made again");
  }
  return true;
}

std::optional<RestartRefusal> OsRestart::refusalAt(RestartMoment const& moment) const {
  if (fMeans.command.empty() && !fMeans.isRoot) {
    return RestartRefusal{RestartObstacle::notPermitted, -EPERM,
                          "not root, and no restart_command is set"};
  }
  return refuseRestart(fLimits, fState.past, moment, fIsPastKnown);
}

int OsRestart::refuse(RestartRefusal const& refusal, RestartMoment const& moment) {
  fState.lastRefusal = {moment.time, refusal.reason};
  auto& logged = fRefusalLogged.at(static_cast<std::size_t>(refusal.obstacle));
  if (!logged || moment.uptime >= *logged + kPause) {
    fLog->error("operating-system restart refused: {}", refusal.reason);
    logged = moment.uptime;
  }
  return refusal.code;
}

/// Counts one more. @return all that is to be recorded.
std::vector<PastRestart> OsRestart::add(RestartMoment const& moment, std::string const& cause) {
  std::erase_if(fState.past,
                [&](auto const& each) { return ageOf(each, moment) >= fLimits.window; });
  fState.past.push_back({moment, cause});
  return fState.past;
}

/// Records the restart that is the last of `past`, then makes it.
int OsRestart::make(std::vector<PastRestart> past, RestartMoment const& moment, unsigned int& pid) {
  const int stored = fJournal ? fJournal->store(past) : PResult::ok;
  past.pop_back();
  if (stored != PResult::ok) {
    fLog->error("a restart cannot be recorded in {}: {}", fJournal->path(), causeOf(stored));
    if (const auto refusal = refuseRestart(fLimits, past, moment, false)) {
      const std::lock_guard lock(fMutex);
      return refuse(*refusal, moment);
    }
  }
  const int res = fMeans.command.empty() ? restartKernel() : runCommand(pid);
  // What was not even begun does not count.
  if (res != PResult::ok && fJournal && stored == PResult::ok) {
    static_cast<void>(fJournal->store(past));
  }
  return res;
}

void OsRestart::settle(int res, std::chrono::seconds uptime, unsigned int pid) {
  fIsBeingMade = false;
  if (res == PResult::ok) {
    fBegun = {uptime, pid};
    fFailure.reset();
  } else {
    fFailure = {uptime, res};
    fState.past.pop_back();
  }
}

int OsRestart::runCommand(unsigned int& pid) const {
  const int res = fMeans.run(fMeans.command, pid);
  if (res != PResult::ok) {
    fLog->error("operating-system restart failed: cannot run `{}': {}", fMeans.command,
                causeOf(res));
  } else {
    fLog->warn("operating-system restart: running `{}', pid={}", fMeans.command, pid);
  }
  return res;
}

int OsRestart::restartKernel() const {
  fLog->warn("operating-system restart: by the kernel, now");
  const int res = fMeans.restartKernel();
  if (res != PResult::ok) fLog->error("operating-system restart failed: {}", causeOf(res));
  return res;
}

int restartMachine(std::function<void()> const& writeDisks, std::function<int()> const& reboot,
                   std::chrono::milliseconds patience) {
  // What it holds outlives this call if the disks do not answer.
  std::packaged_task<void()> task(writeDisks);
  const auto written = task.get_future();
  try {
    std::thread(std::move(task)).detach();
    written.wait_for(patience);
  } catch (std::system_error const&) {
    writeDisks();
  }
  return reboot();
}

int restartThisMachine() {
  return restartMachine([] { ::sync(); },
                        [] { return ::reboot(RB_AUTOBOOT) == 0 ? PResult::ok : -errno; },
                        RestartJournal::kStoreTime);
}
