#pragma once

#include <string>
#include <vector>

/// What stands behind `PProcess`: the same operations, with the same results, on
/// an object that a host builds and that a test can replace. Texts are UTF-8.
class IProcessUtilities {
 public:
  virtual ~IProcessUtilities() = default;

  virtual int find(std::string const& name, std::vector<unsigned int>& pids,
                   std::vector<unsigned int>& parentPids) = 0;
  virtual int getCPUUsage(unsigned int pid, unsigned int& percent) = 0;
  virtual int getMemoryUsage(unsigned int pid, unsigned long long& kib) = 0;
  virtual int isRunning(unsigned int pid, bool& running) = 0;
  virtual int kill(unsigned int pid) = 0;
  virtual int start(std::string const& executable, std::string const& arguments,
                    std::string const& workingDir, unsigned int& pid) = 0;
};
