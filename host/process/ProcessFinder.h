#pragma once

#include <string>
#include <vector>

#include "host/process/ProcessTree.h"

/// Finds processes by name; `PProcess::find` says what a name is. Keeps nothing
/// between calls; any thread may call.
class ProcessFinder {
 public:
  /// @param tree outlives this object.
  explicit ProcessFinder(ProcessTree const& tree) : fTree(tree) {}

  /// @return 0 with at least one process, `PResult::notFound` with none, or the
  ///         code for which the table cannot be read. Then the lists are empty:
  ///         half a table must not pass for the whole.
  int find(std::string const& name, std::vector<unsigned int>& pids,
           std::vector<unsigned int>& parentPids) const;

 private:
  bool bearsName(unsigned int pid, std::string const& comm, std::string const& name) const;
  int examine(unsigned int pid, std::string const& name, ProcessStat& stat) const;

  ProcessTree const& fTree;
};
