#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/process/ProcessHandle.h"
#include "host/process/UniqueFd.h"

/// Sees processes to their end, on a thread of its own: sends SIGKILL to those
/// that outlive their grace after SIGTERM, and reaps started programs and logs
/// how they ended. Any thread may call.
class Reaper {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit Reaper(std::shared_ptr<spdlog::logger> log);

  /// Waits until every process that is being ended has ended or got its SIGKILL.
  /// Started programs go on.
  ~Reaper();
  Reaper(Reaper const&) = delete;
  Reaper& operator=(Reaper const&) = delete;

  /// Sends SIGTERM, and SIGKILL after `grace`. A process that is already being
  /// ended is left to its course.
  /// @param name for the log.
  /// @return 0 once SIGTERM is delivered, or the signal's result.
  int end(ProcessHandle process, std::string name, std::chrono::milliseconds grace);

  /// Waits for processes that were given to `end`, no longer than until they have
  /// got their SIGKILL and a moment to die of it.
  /// @return 0 when they are gone, or the pid of one that is not.
  unsigned int awaitEnded(std::vector<unsigned int> const& pids);

  /// Makes room for one more child, so that it cannot be lacking once it lives.
  void makeRoom();

  /// Reaps a child of this process when it ends.
  /// @param descriptor polls readable then; where there is none, it is polled for.
  void adopt(unsigned int pid, UniqueFd descriptor, std::string name);

 private:
  struct Ending {
    ProcessHandle process;
    std::string name;
    Time killAt;
    std::chrono::milliseconds grace;
    bool isKilled = false;
  };
  struct Child {
    unsigned int pid;
    UniqueFd descriptor;
    std::string name;
  };

  void run();
  void awaitNextAct(std::unique_lock<std::mutex>& lock);
  bool isDone() const;
  int millisecondsToNextAct() const;
  void killOverdue();
  void dropEnded();
  bool reap(Child const& child);
  void logEnd(Child const& child, int status) const;
  void wake();

  std::shared_ptr<spdlog::logger> fLog;
  UniqueFd fWakeUp;
  std::mutex fMutex;
  std::condition_variable fEnded;
  std::vector<Ending> fEnding;
  std::vector<Child> fChildren;
  bool fIsStopping = false;
  std::thread fThread;
};
