#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <unordered_map>
#include <vector>

#include "host/process/CpuMeter.h"
#include "host/process/DescriptorBudget.h"
#include "host/process/IClock.h"
#include "host/process/KeptFile.h"
#include "host/process/ProcessTree.h"

/// The processes whose numbers were handed out or asked about.
///
/// Once a number is bound it stands for that very process: when it has come to
/// another, it is answered for as for a process that is gone, until it is bound
/// anew. What tells two bearers of a number apart is a descriptor that is kept
/// open; where the budget has none left it is the time of their start, which the
/// kernel gives in hundredths of a second. A bound number is remembered while its
/// process lives, and for ten minutes after it was last read. One thread at a time.
///
/// Results are 0, `PResult::notFound` for a process that is dead or not there, or
/// the negated errno for which it cannot be read.
class KnownProcesses {
 public:
  /// What can be asked about a process.
  enum Question : unsigned int { kIsRunning = 1U, kCpu = 2U, kMemory = 4U, kAll = 7U };

  /// How long what was read answers questions. A pass over all programs takes less,
  /// and no sample time is as short.
  static constexpr std::chrono::milliseconds kFreshness{500};

  struct Process {
    ProcessReading reading;
    CpuMeter cpuMeter;
    KeptFile statFile{};
    unsigned int unanswered = 0;  ///< of `reading`
    bool isRead = false;          ///< `reading` holds something
    bool isBound = false;
    bool isGone = false;
  };

  /// @param tree, clock, budget outlive this object.
  /// @param ticksPerSecond the unit of the kernel's accounting.
  KnownProcesses(ProcessTree const& tree, IClock const& clock, DescriptorBudget& budget,
                 unsigned int ticksPerSecond);

  /// Tells by its state whether a process is the one that is looked for: 0,
  /// `PResult::notFound` if it is not, or why that cannot be told.
  using Meant = std::function<int(unsigned int pid, ProcessStat const& stat)>;

  /// Reads a process, and binds its number to it if it is meant.
  /// @return also what `isMeant` answers; if not 0, the number stands for what it
  ///         stood for.
  int bind(unsigned int pid, Meant const& isMeant, Process const*& process);

  /// Reads a process to answer a question. Readings of one moment belong together:
  /// what was recently read of a bound number answers each question once.
  /// @param process set to the process, dead and not yet reaped ones included.
  int ask(unsigned int pid, Question question, Process*& process);

  /// Reads a living process anew, to act on it: of a bound number that very one.
  /// What was read before answers nothing any more.
  int confirm(unsigned int pid, ProcessStat& stat);

  /// Lets go of those among the given processes that are gone.
  void recheck(std::vector<unsigned int> const& pids);

 private:
  Process& at(unsigned int pid);
  int read(unsigned int pid, Process& process);
  int readStat(unsigned int pid, Process& process, ProcessStat& stat);
  int judge(Process& process, int res, bool isSame) const;
  int lookThroughThread(unsigned int pid, Process& process, ProcessStat& stat);
  bool isDead(unsigned int pid, Process const& process) const;
  void tidyUp();

  ProcessTree const& fTree;
  IClock const& fClock;
  DescriptorBudget& fBudget;
  unsigned int fTicksPerSecond;
  std::unordered_map<unsigned int, Process> fProcesses;
  std::unordered_map<unsigned int, std::chrono::microseconds> fGone;  ///< when they were last read
  std::size_t fSweepAt;
  std::array<char, 4096> fBuffer{};  ///< for a `stat` file, which is shorter
};
