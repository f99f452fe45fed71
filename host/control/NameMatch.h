#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/process/ProcessTree.h"

struct NamedProcess {
  unsigned int pid = 0;
  unsigned int parentPid = 0;
  std::string comm;     ///< the name that the kernel keeps
  std::string command;  ///< the beginning of the command line, with blanks between the words
  char state = '?';     ///< the kernel's letter
};

struct NearMiss {
  NamedProcess process;
  std::string why;  ///< it is not meant, though it looks so
};

struct NameMatches {
  static constexpr std::size_t kMostNearMisses = 50;

  std::vector<NamedProcess> matches;  ///< by pid
  std::vector<NearMiss> nearMisses;   ///< the nearest first
  std::size_t leftOut = 0;            ///< near misses beyond the most
};

/// What a name matches right now by the rule of `PProcess::find`, and what it only
/// nearly matches. Reads the whole process table.
/// @param asker a process that is left out: its arguments hold the name it asks for.
/// @return 0, or a negative code when the table cannot be read.
int matchName(ProcessTree const& tree, std::string const& name, std::optional<unsigned int> asker,
              NameMatches& matches);

/// The state of a process, if there is one of that number and it bears the name.
std::optional<char> stateOfBearer(ProcessTree const& tree, unsigned int pid,
                                  std::string const& name);
