#pragma once

#include <spdlog/logger.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "framework/IOSRestart.h"
#include "host/RefCounted.h"
#include "host/process/IClock.h"
#include "host/services/RestartBrake.h"
#include "host/services/RestartJournal.h"

/// What an operating-system restart is made with.
struct RestartMeans {
  /// Command line that restarts the system; empty for the kernel's own restart.
  std::string command;

  /// Starts a command line without waiting for it; 0 and its pid, or a negative
  /// code.
  std::function<int(std::string const& commandLine, unsigned int& pid)> run;

  /// Whether the command that was started with that pid has not ended.
  std::function<bool(unsigned int pid)> isRunning;

  /// Restarts at once; returns only when that failed, with a negative code.
  std::function<int()> restartKernel;

  /// Whether this process may restart the kernel.
  bool isRoot = false;

  /// Why the calling thread wants a restart; empty where that is not known.
  std::function<std::string()> cause{};

  /// Whether a dry run holds back what the calling thread wants.
  std::function<bool()> isPretended{};
};

/// By what the moment of a restart is told.
struct RestartClocks {
  std::shared_ptr<IClock const> sinceBoot;
  std::function<std::chrono::sys_seconds()> wall;
  std::string bootId;
};

/// What is known about restarts of the operating system, to be shown.
struct RestartState {
  struct Refusal {
    std::chrono::sys_seconds time;
    std::string reason;
  };

  /// The oldest first. Those that are older than the window stay until the next.
  std::vector<PastRestart> past;
  std::optional<Refusal> lastRefusal;
  unsigned int inWindow = 0;  ///< of the past ones, those that count for the limit now
  unsigned int limit = 0;     ///< how many the window may hold
};

/// Restarts the operating system: by the configured command, whose own rights
/// decide, or else by the kernel, if the host is root. A restart is recorded before
/// it is made, and not made beyond the limits. What is asked for while one is under
/// way is not made again: while its command runs, and for two minutes from the
/// start of the command, which the machine may take to go down. What a dry run holds
/// back is judged by the limits, but neither made nor counted.
class OsRestart : public RefCounted<IOSRestart> {
 public:
  static constexpr std::chrono::seconds kTimeToGoDown{120};

  /// How soon a refusal is logged again, and a restart that could not even be begun
  /// is tried again.
  static constexpr std::chrono::seconds kPause{60};

  /// Loads the journal and, in the boot after a restart, logs what caused it.
  /// @param journal none: what was made is known only to this object.
  OsRestart(RestartMeans means, RestartClocks clocks, RestartLimits limits,
            std::optional<RestartJournal> journal, std::shared_ptr<spdlog::logger> log);

  int restart(int mode) override;

  /// As `restart(0)`. @param cause is recorded, and shown after the restart; its
  /// first 200 bytes are.
  int request(std::string const& cause);

  /// What is known at this moment, the restart that is being made included.
  RestartState state() const;

 private:
  /// A restart that was begun, and may still bring the machine down.
  struct Begun {
    std::chrono::seconds uptime;
    unsigned int pid = 0;  ///< of its command, until that was seen to have ended
    bool isRepeatLogged = false;
  };
  struct Failure {
    std::chrono::seconds uptime;
    int code;
  };

  ~OsRestart() override = default;

  RestartMoment now() const;
  void logLastRestart() const;
  std::optional<int> answerAtOnce(RestartMoment const& moment);
  bool isUnderWay(RestartMoment const& moment);
  std::optional<RestartRefusal> refusalAt(RestartMoment const& moment) const;
  std::vector<PastRestart> add(RestartMoment const& moment, std::string const& cause);
  int make(std::vector<PastRestart> past, RestartMoment const& moment, unsigned int& pid);
  int runCommand(unsigned int& pid) const;
  int restartKernel() const;
  void settle(int res, std::chrono::seconds uptime, unsigned int pid);
  int refuse(RestartRefusal const& refusal, RestartMoment const& moment);

  const RestartMeans fMeans;
  const RestartClocks fClocks;
  const RestartLimits fLimits;
  const std::shared_ptr<spdlog::logger> fLog;
  std::optional<RestartJournal> fJournal;  ///< of whoever makes a restart

  mutable std::mutex fMutex;  ///< guards what follows; not held while a restart is made
  RestartState fState;
  std::array<std::optional<std::chrono::seconds>, kRestartObstacles> fRefusalLogged;
  std::optional<Begun> fBegun;
  std::optional<Failure> fFailure;
  bool fIsPastKnown = true;
  bool fIsBeingMade = false;
  bool fIsForgetfulnessLogged = false;
};

/// Writes what is in memory to the disks and restarts the machine at once,
/// without ending its programs. A disk that hangs is not waited for longer than the
/// record of the restart was: the restart may be its cure.
/// @return a negated errno; there is no return from success.
int restartThisMachine();

/// The same with other means, and another patience for the disks.
/// @param reboot what restarts. @return its result.
int restartMachine(std::function<void()> const& writeDisks, std::function<int()> const& reboot,
                   std::chrono::milliseconds patience);
