#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/libvesk/IProcessUtilities.h"
#include "host/watch/WatchBoard.h"

/// Passes everything on to other process utilities, with its exact result, and tells
/// the board what goes by. Any thread may call.
class ObservedUtilities : public IProcessUtilities {
 public:
  ObservedUtilities(std::shared_ptr<IProcessUtilities> inner, std::shared_ptr<WatchBoard> board);

  int find(std::string const& name, std::vector<unsigned int>& pids,
           std::vector<unsigned int>& parentPids) override;
  int getCPUUsage(unsigned int pid, unsigned int& percent) override;
  int getMemoryUsage(unsigned int pid, unsigned long long& kib) override;
  int isRunning(unsigned int pid, bool& running) override;
  int kill(unsigned int pid) override;
  int start(std::string const& executable, std::string const& arguments,
            std::string const& workingDir, unsigned int& pid) override;

 private:
  const std::shared_ptr<IProcessUtilities> fInner;
  const std::shared_ptr<WatchBoard> fBoard;
};
