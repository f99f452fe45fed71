#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/process/IClock.h"
#include "host/process/KnownProcesses.h"
#include "host/process/ProcessNames.h"
#include "host/process/ProcessTree.h"

/// Finds processes by name; `PProcess::find` says what a name is.
///
/// A pass over many names looks at the process table once: each look answers for
/// every name once, and no longer than half a second. One thread at a time.
class ProcessFinder {
 public:
  using Pids = std::vector<unsigned int>;

  /// @param tree, clock, names, known outlive this object.
  ProcessFinder(ProcessTree const& tree, IClock const& clock, ProcessNames& names,
                KnownProcesses& known)
      : fTree(tree), fClock(clock), fNames(names), fKnown(known) {}

  /// Binds the number of every process that it finds to that process.
  /// @return 0 with at least one process, `PResult::notFound` with none, or the
  ///         code for which the table cannot be read. Then the lists are empty:
  ///         half a table must not pass for the whole.
  int find(std::string const& name, Pids& pids, Pids& parentPids);

  /// Of the last look at the table: 0, or the code for which it could not be read.
  int lookResult() const { return fResult; }

  /// Takes note of a process that was started since the last look.
  void add(unsigned int pid) { fStarted.push_back(pid); }

 private:
  int lookIfDue(std::string const& name);
  Pids candidates(std::string const& name) const;
  int confirmName(unsigned int pid, ProcessStat const& stat, std::string const& name);

  ProcessTree const& fTree;
  IClock const& fClock;
  ProcessNames& fNames;
  KnownProcesses& fKnown;
  unsigned long fLook = 0;
  int fResult = 0;  ///< of the look
  std::chrono::microseconds fLookedAt{0};
  std::unordered_map<std::string, unsigned long> fAnsweredIn;  ///< the look, by name
  Pids fChanged;
  Pids fStarted;  ///< since the last look
};
