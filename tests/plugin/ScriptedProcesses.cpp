// The framework's processes, linked in place of the host's.

#include <gtest/gtest.h>

#include "framework/PProcess.h"
#include "framework/PUtils.h"
#include "tests/plugin/ScriptedFramework.h"

int PProcess::find(PLiteral const& name, std::vector<unsigned int>& pids,
                   std::vector<unsigned int>& parentPids) noexcept {
  EXPECT_TRUE(pids.empty() && parentPids.empty());
  for (auto const& process : framework().processes[PUtils::toUtf8(name)]) {
    pids.push_back(process.pid);
    parentPids.push_back(process.parent);
    framework().found[process.pid] = process;
  }
  return framework().call("find " + PUtils::toUtf8(name),
                          pids.empty() ? PResult::notFound : PResult::ok);
}

int PProcess::getCPUUsage(unsigned int pid, unsigned int& percent) noexcept {
  percent = framework().found[pid].cpu;
  return framework().call("getCPUUsage " + std::to_string(pid));
}

int PProcess::getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept {
  kib = framework().found[pid].mem;
  return framework().call("getMemoryUsage " + std::to_string(pid));
}

int PProcess::isRunning(unsigned int pid, bool& running) noexcept {
  running = framework().found[pid].running;
  return framework().call("isRunning " + std::to_string(pid));
}

int PProcess::kill(unsigned int pid) noexcept {
  return framework().call("kill " + std::to_string(pid));
}

int PProcess::start(PLiteral const& executable, PLiteral const& arguments,
                    PLiteral const& workingDir, unsigned int& pid) noexcept {
  pid = 500;
  return framework().call("start " + PUtils::toUtf8(executable) + "|" + PUtils::toUtf8(arguments) +
                          "|" + PUtils::toUtf8(workingDir));
}
