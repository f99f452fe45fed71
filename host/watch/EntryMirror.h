#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/watch/IWatchClock.h"
#include "host/watch/WatchView.h"

/// When a call of the watchdog began, and by what clock; it ends when it is told. A
/// clock costs as much as all the rest here, so it is only read where that matters.
struct CallTimes {
  std::chrono::milliseconds begun{};
  IWatchClock const& clock;

  std::chrono::milliseconds now() const {
    return std::chrono::floor<std::chrono::milliseconds>(clock.monotonic());
  }
};

/// One entry as the watchdog has it in its own memory: the processes of the last
/// look, their windows, and what the limits make of them. It is told every call in
/// the order in which the watchdog makes them: one look, then for each process
/// found its state, CPU and memory as far as they are asked, and what is done about
/// it; then what is done about their number. Belongs to whoever guards it.
class EntryMirror {
 public:
  using Pids = std::vector<unsigned int>;

  /// @param globals are read whenever they are needed.
  EntryMirror(std::string const& name, GlobalSettings const& globals);

  void put(EntrySettings settings);
  bool isKnown() const { return fIsKnown; }
  EntryTotals& totals() { return fTotals; }

  /// A look, which begins a turn.
  void found(int result, WallTime at, Pids const& pids, Pids const& parentPids);

  /// Forgets all that was looked for; totals and settings stay.
  void beginAnew() noexcept;

  /// Forgets the processes and their windows: for want of memory.
  void forgetProcesses() noexcept;

  void noteRunning(unsigned int pid, CallTimes const& times, int result, bool isRunning);
  void noteCpu(unsigned int pid, CallTimes const& times, int result, unsigned int percent);
  void noteMemory(unsigned int pid, CallTimes const& times, int result, unsigned long long kib);

  /// Why the watchdog does now what it does, with all numbers; empty if that cannot
  /// be told. Each is called right before the act.
  std::string reasonToKill(unsigned int pid);
  std::string reasonToStart();
  std::string reasonToRestartSystem();

  /// The same of what is published; a process or a number of instances.
  std::string reasonOfCpuEvent(unsigned int pid) const;
  std::string reasonOfMemoryEvent(unsigned int pid) const;
  std::string reasonOfInstanceEvent() const;

  /// How the kill ended that a reason was asked for last.
  /// @param isPretended a dry run held it back.
  void killed(int result, bool isPretended) {
    fLastKill.result = result;
    fLastKill.isPretended = isPretended;
  }

  /// Whether the process that is handled is the last of this turn.
  bool isAtLast() const { return fCurrent + 1 == fProcesses.size(); }

  /// The turn is over: what comes next is another entry.
  void settle();

  EntryView view(std::chrono::milliseconds now) const;

 private:
  struct Window {
    unsigned int samples = 0;
    std::uint64_t cpuSum = 0;
    std::uint64_t memorySum = 0;
    std::chrono::milliseconds start{};
  };
  struct Process {
    InstanceView seen;  ///< without its window
    Window window{};
    // Of this turn.
    std::chrono::milliseconds now{};
    bool isBegun = false;
    bool isSampled = false;
    bool isCpuActedOn = false;
    bool isMemoryActedOn = false;
  };
  enum class Cause { unknown, cpu, memory, instances };
  struct Kill {
    Cause cause = Cause::unknown;
    std::string reason{};
    unsigned int pid = 0;
    unsigned int count = 0;  ///< of processes, for this cause
    int result = 0;
    bool isPretended = false;
  };
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  void replaceProcesses(Pids const& pids, Pids const& parentPids);
  bool areSame(Pids const& pids, Pids const& parentPids) const;
  Window takeWindow(unsigned int pid);
  void beginTurn();
  Process* turnTo(unsigned int pid, CallTimes const& times);
  static void addSample(Process& process, CallTimes const& times);
  bool isOver(Process const& process) const;
  bool isCpuReached(Process const& process) const;
  bool isMemoryReached(Process const& process) const;
  bool isInstanceLimitReached() const;
  unsigned int counted() const;
  bool isInstance(unsigned int pid) const;
  Process const* processOf(unsigned int pid) const;
  Process* current() { return fCurrent < fProcesses.size() ? &fProcesses[fCurrent] : nullptr; }
  std::string cpuText(Process const& process) const;
  std::string memoryText(Process const& process) const;
  std::pair<Cause, std::string> judgeNext(std::optional<unsigned int> pid);
  std::string restartReason() const;

  GlobalSettings const& fGlobals;
  EntrySettings fSettings;
  bool fIsKnown = false;
  std::optional<WallTime> fLookedAt;
  int fFindResult = 0;
  EntryTotals fTotals;
  std::vector<Process> fProcesses;  ///< in the order of the last look
  /// Windows of processes that are no longer found: they go when the windows go.
  std::vector<std::pair<unsigned int, Window>> fGone;
  std::size_t fCurrent = kNone;  ///< the process that is being handled
  Kill fLastKill;                ///< of this turn
};
