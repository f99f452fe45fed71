#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/process/ProgramSettings.h"

/// What to run, and how.
struct SpawnRequest {
  std::string executable;              ///< a path, or a bare name to look up in PATH
  std::vector<std::string> arguments;  ///< without the program's own name
  std::string workingDir;              ///< empty for the host's own
  ProgramSettings settings;
};

/// How a program was started, or why not.
struct SpawnOutcome {
  unsigned int pid = 0;  ///< a child of this process that its caller reaps
  int error = 0;         ///< errno of the step that failed, 0 on success
  std::string cause;     ///< what could not be done; also set when only the output
                         ///< could not be opened and the program runs all the same
};

/// Starts programs in a session of their own without a terminal, with default
/// dispositions and an empty mask of signals, umask 022, standard input from
/// /dev/null, no other descriptor but the output, and the environment and limits
/// of their settings. Any thread may call.
class ISpawner {
 public:
  virtual ~ISpawner() = default;
  virtual SpawnOutcome spawn(SpawnRequest const& request) = 0;
};

/// Forks, and learns from the child itself whether the program could be executed:
/// that works wherever a process can be forked, emulators included.
std::unique_ptr<ISpawner> makeForkSpawner();
