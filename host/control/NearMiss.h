#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/process/ProcessTree.h"

/// What the kernel keeps of a program's name.
inline constexpr std::size_t kCommLength = 15;

/// A process as it was seen when somebody asked for a name.
struct Sighting {
  unsigned int pid = 0;
  ProcessStat stat;
  std::string comm;
  std::vector<std::string> words;  ///< the beginning of the command line
};

struct NearMissReason {
  std::size_t rank = 0;  ///< the nearer, the less
  std::string why;
};

/// Why a process is not found under a name that it seems to bear.
/// @return nothing when it seems to have nothing to do with the name.
std::optional<NearMissReason> nearMissReason(ProcessTree const& tree, Sighting const& sighting,
                                             std::string const& name);
