#include "framework/PProcess.h"

#include <cerrno>

#include "framework/PGuard.h"
#include "framework/PUtils.h"
#include "host/libvesk/Runtime.h"

namespace {

template <class Operation>
int withUtilities(Operation&& operation) noexcept {
  return pGuarded([&] {
    const auto utilities = Runtime::processUtilities();
    return utilities != nullptr ? operation(*utilities) : -ENOSYS;
  });
}

}  // namespace

int PProcess::find(PLiteral const& name, std::vector<unsigned int>& pids,
                   std::vector<unsigned int>& parentPids) noexcept {
  return withUtilities([&](IProcessUtilities& utilities) {
    return utilities.find(PUtils::toUtf8(name), pids, parentPids);
  });
}

int PProcess::getCPUUsage(unsigned int pid, unsigned int& percent) noexcept {
  return withUtilities(
      [&](IProcessUtilities& utilities) { return utilities.getCPUUsage(pid, percent); });
}

int PProcess::getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept {
  return withUtilities(
      [&](IProcessUtilities& utilities) { return utilities.getMemoryUsage(pid, kib); });
}

int PProcess::isRunning(unsigned int pid, bool& running) noexcept {
  return withUtilities(
      [&](IProcessUtilities& utilities) { return utilities.isRunning(pid, running); });
}

int PProcess::kill(unsigned int pid) noexcept {
  return withUtilities([&](IProcessUtilities& utilities) { return utilities.kill(pid); });
}

int PProcess::start(PLiteral const& executable, PLiteral const& arguments,
                    PLiteral const& workingDir, unsigned int& pid) noexcept {
  return withUtilities([&](IProcessUtilities& utilities) {
    return utilities.start(PUtils::toUtf8(executable), PUtils::toUtf8(arguments),
                           PUtils::toUtf8(workingDir), pid);
  });
}
