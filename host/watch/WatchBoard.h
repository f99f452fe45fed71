#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "framework/PLiteral.h"
#include "host/watch/EntryMirror.h"
#include "host/watch/IWatchClock.h"
#include "host/watch/RecordJournal.h"
#include "host/watch/ThreadPasses.h"
#include "host/watch/WatchView.h"

/// Which programs are only watched, and not acted upon.
struct DryRun {
  bool all = false;
  std::set<std::string> names;
};

/// What the watchdog is doing, put together from what it asks of the host. Whoever
/// writes holds the lock for moments only, and so does whoever reads. Any thread may
/// call.
class WatchBoard {
 public:
  /// @param journal gets a record of each act and event; null for none.
  explicit WatchBoard(std::shared_ptr<RecordJournal> journal = nullptr,
                      std::shared_ptr<IWatchClock const> clock = systemWatchClock());

  void setGlobals(GlobalSettings const& globals);
  void setDryRun(DryRun dryRun);

  /// Notes how an entry is set up; `dryRun` of the settings is ignored.
  void put(EntrySettings settings);

  /// Forgets an entry.
  void drop(std::string const& name);

  /// A new watchdog is about to begin: the former's processes, windows and looks are
  /// forgotten, totals and settings stay. To be called between the end of the former
  /// plug-ins and the start of the new ones.
  void beginAnew();

  /// Names that are looked for but were never put, and names that were put but not
  /// looked for in the last whole pass: somebody else added or removed them. Also names
  /// for which something was done or published that their settings give no reason for,
  /// until they are put again: somebody else changed the settings.
  std::vector<std::string> doubtful() const;

  WatchView view() const;

  /// Whether a dry run holds back the act that the calling thread has begun: the
  /// host's, or that of the entry whose name the thread last looked for. Where that
  /// cannot be told, any dry run does.
  /// @param reason set to why it would be done; empty where that cannot be told.
  bool pretend(std::string& reason) noexcept;

  /// Why the calling thread has the operating system restarted, for the record of
  /// restarts; empty where that cannot be told.
  std::string causeOfRestart();

  // What goes by, told on the thread that calls. Nothing here fails: what memory does
  // not suffice for is not noted.

  void beginLook(std::string const& name) noexcept;
  void endLook(std::string const& name, int result, std::vector<unsigned int> const& pids,
               std::vector<unsigned int> const& parentPids) noexcept;

  /// A reading that is under way.
  struct Reading {
    ThreadPass* pass;  ///< null where nothing is noted of it
    std::chrono::microseconds begun;
  };
  Reading beginReading(unsigned int pid) noexcept;
  void endRunning(Reading const& reading, unsigned int pid, int result, bool isRunning) noexcept;
  void endCpu(Reading const& reading, unsigned int pid, int result, unsigned int percent) noexcept;
  void endMemory(Reading const& reading, unsigned int pid, int result,
                 unsigned long long kib) noexcept;

  void beginKill(unsigned int pid) noexcept;
  void beginStart() noexcept;
  void beginRestart() noexcept;

  /// @param pid of what was started.
  void endAct(int result, std::optional<unsigned int> pid = std::nullopt) noexcept;

  /// An event that was published.
  void noteEvent(PLiteral const& topic, int value) noexcept;

 private:
  /// An entry, and the passes that looked for it.
  struct Watched {
    Watched(std::string const& name, GlobalSettings const& globals) : mirror(name, globals) {}
    EntryMirror mirror;
    std::uint64_t lookedForIn = 0;  ///< number of the pass
    std::uint64_t putIn = 0;        ///< likewise
    std::uint64_t knownSince = 0;   ///< number of the pass in which it was first put
    bool isContradicted = false;    ///< something was done for it without a reason

    void noteReason(std::string const& reason) {
      if (reason.empty() && mirror.isKnown()) isContradicted = true;
    }

    /// What nobody put and nobody looks for any more was never an entry.
    bool isForgotten(std::uint64_t lastWholePass) const {
      return !mirror.isKnown() && lookedForIn < lastWholePass;
    }
  };
  using Watch = std::map<std::string, Watched>;

  Watched& entryOf(std::string const& name);
  Watched* turnOf(ThreadPass const& pass);
  void endTurn() noexcept;
  bool isHeldBack(ThreadPass const* pass) const noexcept;
  bool isStillToLookFor(ThreadPass const& pass, std::string const& name) const;
  void beginPass(ThreadPass& pass, std::chrono::microseconds now);
  void closePass(ThreadPass& pass, std::chrono::microseconds now);
  void sumUp(ThreadPass& pass);
  bool isPassOver(std::chrono::microseconds now) const;
  PassView passAt(std::chrono::microseconds now) const;
  std::uint64_t lastWholePass(std::chrono::microseconds now) const;
  EntryView viewOf(Watched const& entry, std::chrono::microseconds now) const;
  bool isWatchdog(ThreadPass const& pass) const { return fThreads.leader() == &pass; }
  template <class Judge>
  void beginAct(RecordKind kind, std::optional<unsigned int> pid, Judge&& judge) noexcept;
  template <class Note>
  void endReading(Reading const& reading, Note&& note) noexcept;
  WatchRecord recordOf(ThreadPass const& pass, int result, std::optional<unsigned int> pid);
  void noteWatchdogEvent(WatchRecord& record);
  EntryTotals* totalsFor(ThreadPass const& pass);

  const std::shared_ptr<RecordJournal> fJournal;
  const std::shared_ptr<IWatchClock const> fClock;

  // The lock guards what follows.
  mutable std::mutex fMutex;
  GlobalSettings fGlobals;
  DryRun fDryRun;
  Watch fEntries;
  ThreadPasses fThreads;
  Watched* fTurn = nullptr;  ///< the entry that the watchdog last looked for
  PassView fPass;            ///< of the watchdog, without what changes by itself
  std::uint64_t fLastWholePass = 0;
};
