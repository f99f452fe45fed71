#pragma once

#include <spdlog/logger.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/libvesk/IProcessUtilities.h"
#include "host/process/DescriptorBudget.h"
#include "host/process/IClock.h"
#include "host/process/IProcessEvents.h"
#include "host/process/IProcessSignals.h"
#include "host/process/ISpawner.h"
#include "host/process/KnownProcesses.h"
#include "host/process/ProcessFinder.h"
#include "host/process/ProcessNames.h"
#include "host/process/ProcessSettings.h"
#include "host/process/ProcessTree.h"
#include "host/process/Reaper.h"

/// Whether what the calling thread does is only to be pretended.
/// @param reason set to why it would be done, where that is known.
using Pretend = std::function<bool(std::string& reason)>;

/// What the process utilities need of the machine beside its process table.
struct ProcessWorld {
  std::unique_ptr<IClock> clock;
  std::unique_ptr<IProcessSignals> signals;
  std::unique_ptr<ISpawner> spawner;
  ListenToEvents listen;  ///< none: every look reads the whole table
  Pretend pretend{};      ///< none: everything is done

  /// The machine that this process runs on.
  static ProcessWorld real();
};

/// The process utilities of Linux: what stands behind `PProcess`, which says what
/// each operation means. Any thread may call. Destruction waits for processes
/// that are being ended; started programs go on.
class ProcessUtilities : public IProcessUtilities {
 public:
  ProcessUtilities(ProcessSettings settings, std::shared_ptr<spdlog::logger> log,
                   ProcessWorld world = ProcessWorld::real());

  int find(std::string const& name, std::vector<unsigned int>& pids,
           std::vector<unsigned int>& parentPids) override;
  int getCPUUsage(unsigned int pid, unsigned int& percent) override;
  int getMemoryUsage(unsigned int pid, unsigned long long& kib) override;
  int isRunning(unsigned int pid, bool& running) override;
  int kill(unsigned int pid) override;
  int start(std::string const& executable, std::string const& arguments,
            std::string const& workingDir, unsigned int& pid) override;

  /// Starts a whole command line, program and arguments, without waiting for
  /// anything; its end is logged.
  /// @return 0 when it is running, or as `start`.
  int run(std::string const& commandLine, unsigned int& pid);

  /// How long ago a program was last started; nothing if none was.
  std::optional<std::chrono::microseconds> sinceLastStart() const;

  /// How often `find` was called, modulo the type: a sign of life of whoever looks
  /// at every pass.
  unsigned int finds() const { return fFinds.load(std::memory_order_relaxed); }

 private:
  void noteLook(int res);
  bool isUntouchable(unsigned int pid, ProcessStat const& stat) const;
  bool isPretended(std::string& reason) const { return fWorld.pretend && fWorld.pretend(reason); }
  void logUnended(int res, unsigned int pid, ProcessStat const& stat);
  void noteUnended(unsigned int pid, std::string const& what);
  void logOnce(std::string const& what);
  int pretendToEnd(ProcessHandle const& process, ProcessStat const& stat,
                   std::string const& reason);
  int pretendToStart(SpawnRequest const& request, std::string const& arguments,
                     std::string const& reason) const;
  int hold(unsigned int pid, ProcessHandle& process, ProcessStat& stat);
  void note(unsigned int pid) noexcept;
  int launch(SpawnRequest const& request, unsigned int& pid);
  std::vector<unsigned int> takeKilled();
  unsigned int takeRefused();

  ProcessSettings fSettings;
  std::shared_ptr<spdlog::logger> fLog;
  ProcessWorld fWorld;
  ProcessTree fTree;
  std::atomic<unsigned int> fFinds{0};
  std::atomic<std::chrono::microseconds> fStartedAt{};  ///< since boot; zero: never
  std::mutex fMutex;                                    ///< guards what follows, up to the reaper
  DescriptorBudget fNameBudget;
  DescriptorBudget fStatBudget;
  ProcessNames fNames;
  KnownProcesses fKnown;
  ProcessFinder fFinder;
  std::vector<unsigned int> fKilledSinceFind;
  bool fIsTableRead = true;  ///< as far as was said
  /// One that could not be ended: what is started now would run beside it. 0: none.
  unsigned int fRefusedSinceFind = 0;
  std::set<std::string> fSaid;  ///< what is logged once
  Reaper fReaper;
};
