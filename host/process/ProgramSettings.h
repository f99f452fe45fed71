#pragma once

#include <sys/resource.h>

#include <string>
#include <vector>

/// One resource limit of a process.
struct ProgramLimit {
  int resource;  ///< an `RLIMIT_` constant
  rlim_t soft;   ///< in the unit of the resource, see setrlimit(2); never above `hard`
  rlim_t hard;
};

/// What every started program is given, whatever the host itself has.
struct ProgramSettings {
  /// File that standard output and standard error are appended to; empty for
  /// /dev/null.
  std::string output{};

  /// All of the environment, each entry as "NAME=value".
  std::vector<std::string> environment{};

  /// Set in this order, so that of two for one resource the latter holds. Where
  /// there is none the host's own limit does.
  std::vector<ProgramLimit> limits{};
};
