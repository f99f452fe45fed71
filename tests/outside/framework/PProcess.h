#pragma once
#include <vector>

#include "framework/PLiteral.h"

/// On a scripted world; see `Script.h`.
struct PProcess {
  using Pids = std::vector<unsigned int>;
  static int find(PLiteral const& name, Pids& pids, Pids& parentPids);
  static int getCPUUsage(unsigned int pid, unsigned int& percent);
  static int getMemoryUsage(unsigned int pid, unsigned long long& kib);
  static int isRunning(unsigned int pid, bool& running);
  static int kill(unsigned int pid);
  static int start(PLiteral const& executable, PLiteral const& arguments,
                   PLiteral const& workingDir, unsigned int& pid);
};
