#pragma once

#include <cstddef>
#include <span>

#include "host/process/ProgramSettings.h"

/// The one descriptor beside the standard streams that a child has left while it
/// becomes a program.
inline constexpr int kFirstFreeFd = 3;

/// What a child was doing when it failed.
enum class StartStep { setUp, workingDir, limit, execute };

/// What a child tells its parent when it cannot become the program.
struct StartReport {
  StartStep step = StartStep::setUp;
  std::size_t limit = 0;  ///< the index of the limit that the step was about
  int error = 0;          ///< errno
};

/// All that a child needs, made before the fork: after it nothing may be
/// allocated, since another thread may have held the allocator's lock.
struct StartPlan {
  const char* path;
  char* const* arguments;
  char* const* environment;
  const char* workingDir;  ///< null for the host's own
  std::span<ProgramLimit const> limits;
  int input;
  int output;
  int report;  ///< pipe that takes a `StartReport`, and closes when the program runs
};

/// The way of a forked child to the program. Calls only what is safe after a fork
/// of a process with threads. To be called with all signals blocked.
[[noreturn]] void becomeProgram(StartPlan const& plan);
