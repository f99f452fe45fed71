#include "host/process/Reaper.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

#include "framework/PResult.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// How often a process without a descriptor is looked at: one that is being ended,
/// which somebody may wait for, and a program that runs.
constexpr auto kEndingInterval = 20ms;
constexpr auto kChildInterval = 1s;

/// What a process may take to die of SIGKILL before it counts as stuck.
constexpr auto kDeathTime = 1s;

/// How soon to try again what memory or descriptors were lacking for.
constexpr auto kRetryInterval = 50ms;

bool isLacking(int res) { return res == -EMFILE || res == -ENFILE || res == -ENOMEM; }

}  // namespace

Reaper::Reaper(std::shared_ptr<spdlog::logger> log)
    : fLog(std::move(log)), fWakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!fWakeUp) throw std::system_error(errno, std::generic_category(), "eventfd");
  fThread = std::thread([this] { run(); });
}

Reaper::~Reaper() {
  {
    const std::lock_guard lock(fMutex);
    fIsStopping = true;
    if (!fEnding.empty()) {
      fLog->info("waiting for {} process(es) that are being ended", fEnding.size());
    }
  }
  wake();
  fThread.join();
}

void Reaper::wake() {
  const eventfd_t one = 1;
  ::eventfd_write(fWakeUp.get(), one);
}

int Reaper::end(ProcessHandle process, std::string name, std::chrono::milliseconds grace) {
  {
    const std::lock_guard lock(fMutex);
    const auto isThis = [&](Ending const& ending) { return ending.process.isSame(process); };
    if (std::any_of(fEnding.begin(), fEnding.end(), isThis)) return PResult::ok;
    fEnding.reserve(fEnding.size() + 1);  // no SIGTERM that nobody follows up
    const int res = process.send(SIGTERM);
    if (res != PResult::ok) return res;
    fLog->debug("sent SIGTERM to process {} ({})", process.pid(), name);
    fEnding.push_back({std::move(process), std::move(name), Clock::now() + grace, grace});
  }
  wake();
  return PResult::ok;
}

unsigned int Reaper::awaitEnded(std::vector<unsigned int> const& pids) {
  std::unique_lock lock(fMutex);
  const auto isAwaited = [&](Ending const& ending) {
    return std::find(pids.begin(), pids.end(), ending.process.pid()) != pids.end();
  };
  const auto lasting = [&] { return std::find_if(fEnding.begin(), fEnding.end(), isAwaited); };
  Time until = Clock::now();
  for (auto const& ending : fEnding) {
    if (isAwaited(ending)) until = std::max(until, ending.killAt + kDeathTime);
  }
  fEnded.wait_until(lock, until, [&] { return lasting() == fEnding.end(); });
  return lasting() == fEnding.end() ? 0 : lasting()->process.pid();
}

void Reaper::makeRoom() {
  const std::lock_guard lock(fMutex);
  fChildren.reserve(fChildren.size() + 1);
}

void Reaper::adopt(unsigned int pid, UniqueFd descriptor, std::string name) {
  {
    const std::lock_guard lock(fMutex);
    fChildren.push_back({pid, std::move(descriptor), std::move(name)});
  }
  wake();
}

void Reaper::run() {
  std::unique_lock lock(fMutex);
  while (!isDone()) {
    try {
      awaitNextAct(lock);
      std::erase_if(fChildren, [this](Child const& child) { return reap(child); });
      dropEnded();
      killOverdue();
    } catch (std::bad_alloc const&) {
      fEnded.wait_for(lock, kRetryInterval);
    }
  }
}

void Reaper::awaitNextAct(std::unique_lock<std::mutex>& lock) {
  std::vector<pollfd> polled = {{fWakeUp.get(), POLLIN, 0}};
  const auto add = [&polled](int descriptor) {
    if (descriptor >= 0) polled.push_back({descriptor, POLLIN, 0});
  };
  for (auto const& ending : fEnding) add(ending.process.descriptor());
  for (auto const& child : fChildren) add(child.descriptor.get());
  const int timeout = millisecondsToNextAct();
  lock.unlock();
  // More than the limit of open files, which may be lowered at any time, is refused.
  if (::poll(polled.data(), polled.size(), timeout) < 0)
    std::this_thread::sleep_for(kRetryInterval);
  eventfd_t ignored = 0;
  ::eventfd_read(fWakeUp.get(), &ignored);
  lock.lock();
}

bool Reaper::isDone() const {
  const auto isOver = [](Ending const& ending) {
    return ending.isKilled && Clock::now() >= ending.killAt + kDeathTime;
  };
  return fIsStopping && std::all_of(fEnding.begin(), fEnding.end(), isOver);
}

int Reaper::millisecondsToNextAct() const {
  auto next = Time::max();
  const auto now = Clock::now();
  for (auto const& ending : fEnding) {
    const auto act = ending.isKilled ? ending.killAt + kDeathTime : ending.killAt;
    if (act > now || !ending.isKilled) next = std::min(next, act);
    if (ending.process.descriptor() < 0) next = std::min<Time>(next, now + kEndingInterval);
  }
  for (auto const& child : fChildren) {
    if (!child.descriptor) next = std::min<Time>(next, now + kChildInterval);
  }
  if (next == Time::max()) return -1;
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
  return static_cast<int>(std::max<decltype(wait)>(wait, 0));
}

void Reaper::dropEnded() {
  const auto isEnded = [](Ending const& ending) {
    if (ending.process.descriptor() < 0) return ending.process.isDead();
    pollfd polled{ending.process.descriptor(), POLLIN, 0};
    return ::poll(&polled, 1, 0) > 0;
  };
  if (std::erase_if(fEnding, isEnded) > 0) fEnded.notify_all();
}

void Reaper::killOverdue() {
  for (auto& ending : fEnding) {
    if (ending.isKilled || Clock::now() < ending.killAt) continue;
    const int res = ending.process.send(SIGKILL);
    if (isLacking(res)) {
      ending.killAt = Clock::now() + kRetryInterval;
      continue;
    }
    ending.isKilled = true;
    if (res == PResult::ok) {
      fLog->warn("process {} ({}) did not end within {} ms of SIGTERM: sent SIGKILL",
                 ending.process.pid(), ending.name, ending.grace.count());
    } else if (res != PResult::notFound) {
      fLog->error("process {} ({}) cannot be killed: {}", ending.process.pid(), ending.name,
                  std::strerror(-res));
    }
  }
}

bool Reaper::reap(Child const& child) {
  int status = 0;
  const pid_t ended = ::waitpid(static_cast<pid_t>(child.pid), &status, WNOHANG);
  if (ended == 0) return false;
  if (ended > 0) logEnd(child, status);
  return true;
}

void Reaper::logEnd(Child const& child, int status) const {
  if (WIFEXITED(status)) {
    fLog->info("program {} (pid {}) ended with exit status {}", child.name, child.pid,
               WEXITSTATUS(status));
    return;
  }
  const char* name = ::sigabbrev_np(WTERMSIG(status));
  fLog->info("program {} (pid {}) ended with signal {} ({})", child.name, child.pid,
             WTERMSIG(status), name != nullptr ? name : "real-time");
}
