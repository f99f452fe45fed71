#include "host/daemon/MainLoop.h"

#include <exception>
#include <future>
#include <nlohmann/json.hpp>
#include <utility>

struct MainLoop::Waiting {
  explicit Waiting(Job work) : job(std::move(work)) {}

  Job job;
  std::promise<ApiResult> result;
};

namespace {

ApiError unavailable(std::string text) { return {ApiError::Code::unavailable, std::move(text)}; }

ApiError isStopping() { return unavailable("the host is stopping"); }

ApiResult resultOf(MainLoop::Job const& job) {
  try {
    return job();
  } catch (std::exception const& error) {
    return ApiError{ApiError::Code::internal, error.what()};
  }
}

}  // namespace

ApiResult MainLoop::run(Job job) {
  // Shared, for the promise must outlive the call that keeps it.
  auto waiting = std::make_shared<Waiting>(std::move(job));
  auto result = waiting->result.get_future();
  {
    const std::lock_guard lock(fMutex);
    if (fIsStopped) return isStopping();
    if (fJobs.size() >= kMostWaiting) return unavailable("too many changes wait already");
    fJobs.push_back(std::move(waiting));
  }
  fChanged.notify_one();
  return result.get();
}

void MainLoop::stop(int reason) {
  {
    const std::lock_guard lock(fMutex);
    if (std::exchange(fIsStopped, true)) return;
    fReason = reason;
  }
  fChanged.notify_one();
}

void MainLoop::askToReload() {
  {
    const std::lock_guard lock(fMutex);
    fIsToReload = true;
  }
  fChanged.notify_one();
}

bool MainLoop::isAnythingToDo() const { return fIsStopped || fIsToReload || !fJobs.empty(); }

int MainLoop::serve(std::function<void()> const& reload, Chore const& chore) {
  auto due = Clock::now() + chore.interval;
  while (true) {
    if (Clock::now() >= due) {
      chore.run();
      due = Clock::now() + chore.interval;
    }
    std::unique_lock lock(fMutex);
    fChanged.wait_until(lock, due, [this] { return isAnythingToDo(); });
    if (fIsStopped) break;
    if (std::exchange(fIsToReload, false)) {
      lock.unlock();
      reload();
    } else if (!fJobs.empty()) {
      const auto next = std::move(fJobs.front());
      fJobs.pop_front();
      lock.unlock();
      next->result.set_value(resultOf(next->job));
    }
  }
  close();
  return fReason;
}

bool MainLoop::pause(std::chrono::microseconds time) {
  std::unique_lock lock(fMutex);
  return !fChanged.wait_for(lock, time, [this] { return fIsStopped; });
}

void MainLoop::close() {
  const std::lock_guard lock(fMutex);
  fIsStopped = true;
  for (auto const& waiting : fJobs) waiting->result.set_value(isStopping());
  fJobs.clear();
}
