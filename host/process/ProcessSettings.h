#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "host/process/ProgramSettings.h"

/// How the process utilities see and treat the processes of this machine.
struct ProcessSettings {
  /// Where the process table is mounted.
  std::string procRoot = "/proc";

  /// How long a process may take to end after SIGTERM before it gets SIGKILL.
  std::chrono::milliseconds killGrace{3000};

  /// How many descriptors may be kept open from look to look. Beyond that, files
  /// are opened and closed, which costs several times as much.
  std::size_t keptDescriptors = 256;

  /// What started programs are given.
  ProgramSettings programs{};

  /// A process that is certainly in the table: what does not show it is no process
  /// table, whatever is mounted there. 0: any folder is believed.
  unsigned int witness = 0;
};
