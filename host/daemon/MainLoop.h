#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "host/control/ApiResult.h"

/// What the main thread does between start and stop. It is the only one that touches
/// the plug-ins and changes what is watched; other threads hand it their jobs.
class MainLoop {
 public:
  /// Jobs that wait; one more is refused.
  static constexpr std::size_t kMostWaiting = 16;

  using Job = std::function<ApiResult()>;

  /// Done again and again, `interval` apart, but never during a job.
  struct Chore {
    std::chrono::milliseconds interval;
    std::function<void()> run;
  };

  MainLoop() = default;
  MainLoop(MainLoop const&) = delete;
  MainLoop& operator=(MainLoop const&) = delete;

  /// Has a job done on the loop's thread and waits for it. Any other thread may call.
  /// @return what the job returns; `unavailable` when too many wait or the loop has
  ///         ended, `internal` when it throws.
  ApiResult run(Job job);

  /// Ends the loop after the job under way. Any thread may call; the first one counts.
  /// @param reason what `serve` returns.
  void stop(int reason);

  /// Has `reload` done, once for all that ask before it begins. Any thread may call.
  void askToReload();

  /// Does all that until `stop`, and then closes. Once.
  int serve(std::function<void()> const& reload, Chore const& chore);

  /// Waits, on the loop's own thread, in the middle of what it does.
  /// @return false at once when `stop` was called, or is meanwhile.
  bool pause(std::chrono::microseconds time);

  /// Whoever waits for a job, or asks for one later, is answered `unavailable`.
  void close();

 private:
  struct Waiting;
  using Clock = std::chrono::steady_clock;

  bool isAnythingToDo() const;

  std::mutex fMutex;  ///< guards what follows
  std::condition_variable fChanged;
  std::deque<std::shared_ptr<Waiting>> fJobs;
  bool fIsStopped = false;
  int fReason = 0;
  bool fIsToReload = false;
};
