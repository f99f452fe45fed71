#pragma once

#include <chrono>
#include <string>

/// How the process utilities see and treat the processes of this machine.
struct ProcessSettings {
  /// Where the process table is mounted.
  std::string procRoot = "/proc";

  /// How long a process may take to end after SIGTERM before it gets SIGKILL.
  std::chrono::milliseconds killGrace{3000};

  /// File that standard output and standard error of started programs are
  /// appended to; empty for /dev/null.
  std::string programOutput{};
};
