#include "host/watch/ObservedUtilities.h"

#include <utility>

#include "framework/PResult.h"

namespace {

/// Tells the end of a call, in whichever way it ends.
template <class Call, class Tell>
int observed(Call&& call, Tell&& tell) {
  int res = PResult::failed;
  try {
    res = call();
  } catch (...) {
    tell(PResult::failed);
    throw;
  }
  tell(res);
  return res;
}

}  // namespace

ObservedUtilities::ObservedUtilities(std::shared_ptr<IProcessUtilities> inner,
                                     std::shared_ptr<WatchBoard> board)
    : fInner(std::move(inner)), fBoard(std::move(board)) {}

int ObservedUtilities::find(std::string const& name, std::vector<unsigned int>& pids,
                            std::vector<unsigned int>& parentPids) {
  fBoard->beginLook(name);
  return observed([&] { return fInner->find(name, pids, parentPids); },
                  [&](int res) { fBoard->endLook(name, res, pids, parentPids); });
}

int ObservedUtilities::getCPUUsage(unsigned int pid, unsigned int& percent) {
  const auto reading = fBoard->beginReading(pid);
  return observed([&] { return fInner->getCPUUsage(pid, percent); },
                  [&](int res) { fBoard->endCpu(reading, pid, res, percent); });
}

int ObservedUtilities::getMemoryUsage(unsigned int pid, unsigned long long& kib) {
  const auto reading = fBoard->beginReading(pid);
  return observed([&] { return fInner->getMemoryUsage(pid, kib); },
                  [&](int res) { fBoard->endMemory(reading, pid, res, kib); });
}

int ObservedUtilities::isRunning(unsigned int pid, bool& running) {
  const auto reading = fBoard->beginReading(pid);
  return observed([&] { return fInner->isRunning(pid, running); },
                  [&](int res) { fBoard->endRunning(reading, pid, res, running); });
}

int ObservedUtilities::kill(unsigned int pid) {
  fBoard->beginKill(pid);
  return observed([&] { return fInner->kill(pid); }, [&](int res) { fBoard->endAct(res); });
}

int ObservedUtilities::start(std::string const& executable, std::string const& arguments,
                             std::string const& workingDir, unsigned int& pid) {
  fBoard->beginStart();
  return observed([&] { return fInner->start(executable, arguments, workingDir, pid); },
                  [&](int res) {
                    const bool hasPid = res == PResult::ok && pid != 0;
                    fBoard->endAct(res, hasPid ? std::optional(pid) : std::nullopt);
                  });
}
