#pragma once

#include <string>
#include <vector>

#include "host/daemon/ExitCode.h"

/// Why the daemon ends before it runs: one line per cause.
struct Failure {
  ExitCode code;
  std::vector<std::string> lines;
};
