#include "host/daemon/MainLoop.h"

#include <algorithm>
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

/// The chores of a loop, and when each is due.
class Timetable {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Timetable(std::vector<MainLoop::Chore> const& chores) {
    for (MainLoop::Chore const& chore : chores) {
      if (chore.interval.count() > 0) fRows.push_back({chore, Clock::now() + cut(chore.interval)});
    }
  }

  void runDue() {
    for (Row& row : fRows) {
      if (Clock::now() < row.due) continue;
      row.chore.run();
      row.due = Clock::now() + cut(row.chore.interval);
    }
  }

  Clock::time_point next() const {
    Clock::time_point first = Clock::now() + kLongest;
    for (Row const& row : fRows) first = std::min(first, row.due);
    return first;
  }

 private:
  static constexpr std::chrono::hours kLongest{24};  // what no clock's range is short of

  static std::chrono::microseconds cut(std::chrono::microseconds interval) {
    return std::min<std::chrono::microseconds>(interval, kLongest);
  }

  struct Row {
    MainLoop::Chore const& chore;
    Clock::time_point due;
  };
  std::vector<Row> fRows;
};

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

int MainLoop::serve(std::function<void()> const& reload, std::vector<Chore> const& chores) {
  Timetable timetable(chores);
  while (true) {
    timetable.runDue();
    std::unique_lock lock(fMutex);
    fChanged.wait_until(lock, timetable.next(), [this] { return isAnythingToDo(); });
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
  return refuseAll();
}

int MainLoop::refuseAll() {
  const std::lock_guard lock(fMutex);
  for (auto const& waiting : fJobs) waiting->result.set_value(isStopping());
  fJobs.clear();
  return fReason;
}
