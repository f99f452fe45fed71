#pragma once

#include <spdlog/logger.h>

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "host/control/ApiResult.h"
#include "host/entries/WatchdogFacts.h"
#include "host/watch/RecordJournal.h"
#include "host/watch/WatchBoard.h"

/// What is watched, kept on the board as the watchdog itself has it: by the
/// configuration file, by requests, and by other plug-ins. Asks the watchdog, and so
/// waits for a pass that is under way; holds none of its objects between two calls.
/// Belongs to the thread of the plug-ins.
class Roster {
 public:
  Roster(std::shared_ptr<WatchBoard> board, std::shared_ptr<RecordJournal> journal,
         std::shared_ptr<spdlog::logger> log);

  /// Puts on the board what is to hold from the first pass on. Before the plug-ins
  /// start.
  /// @param facts of the file that they are about to read.
  void announce(WatchdogFacts facts);

  /// Has acts held back that either the file in force or the one to come holds back:
  /// for the time in which the former plug-ins end.
  void holdBackFor(WatchdogFacts const& next);

  /// Adds again what was added by request, but for names that the file has, and puts
  /// all entries on the board. After the plug-ins have started.
  void refresh();

  /// As `IChanges` says.
  ApiResult add(nlohmann::json const& request);
  ApiResult remove(std::string const& name);

  /// Asks the watchdog about each entry that the board has doubts about.
  void resolveDoubts();

  /// Whether the watchdog has anything to look for. Any thread may call.
  bool isAnythingLookedFor() const { return fIsAnythingLookedFor; }

 private:
  ApiResult add(EntrySettings settings);
  void review(std::string const& name);
  void forget(std::string const& name);
  void noteWatched();
  bool isInFile(std::string const& name) const;
  EntryOrigin originOf(std::string const& name) const;
  void record(RecordKind kind, std::string const& name, const char* what);

  std::shared_ptr<WatchBoard> fBoard;
  std::shared_ptr<RecordJournal> fJournal;
  std::shared_ptr<spdlog::logger> fLog;
  WatchdogFacts fFacts;                         ///< of the file in force
  DryRun fDryRun;                               ///< as the board has it
  std::map<std::string, EntrySettings> fAdded;  ///< by request
  std::set<std::string> fWatched;               ///< as the board has them
  std::atomic<bool> fIsAnythingLookedFor{false};
};
