// The framework's processes, linked in place of the host's.

#include <gtest/gtest.h>

#include "framework/PProcess.h"
#include "framework/PUtils.h"
#include "tests/plugin/ScriptedFramework.h"

int PProcess::find(PLiteral const& name, std::vector<unsigned int>& pids,
                   std::vector<unsigned int>& parentPids) noexcept {
  const ScriptedFramework::Side side(false);
  EXPECT_TRUE(pids.empty() && parentPids.empty());
  auto const& found = framework().processes[PUtils::toUtf8(name)];
  const int res = framework().call("find " + PUtils::toUtf8(name),
                                   found.empty() ? PResult::notFound : PResult::ok);
  for (auto const& process : found) {
    pids.push_back(process.pid);
    parentPids.push_back(process.parent);
    framework().found[process.pid] = process;
  }
  return res;
}

int PProcess::getCPUUsage(unsigned int pid, unsigned int& percent) noexcept {
  const ScriptedFramework::Side side(false);
  const int res = framework().call("getCPUUsage " + std::to_string(pid));
  percent = framework().found[pid].cpu;
  return res;
}

int PProcess::getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept {
  const ScriptedFramework::Side side(false);
  const int res = framework().call("getMemoryUsage " + std::to_string(pid));
  kib = framework().found[pid].mem;
  return res;
}

int PProcess::isRunning(unsigned int pid, bool& running) noexcept {
  const ScriptedFramework::Side side(false);
  const int res = framework().call("isRunning " + std::to_string(pid));
  running = framework().found[pid].running;
  return res;
}

int PProcess::kill(unsigned int pid) noexcept {
  const ScriptedFramework::Side side(false);
  return framework().call("kill " + std::to_string(pid));
}

int PProcess::start(PLiteral const& executable, PLiteral const& arguments,
                    PLiteral const& workingDir, unsigned int& pid) noexcept {
  const ScriptedFramework::Side side(false);
  pid = 500;
  return framework().call("start " + PUtils::toUtf8(executable) + "|" + PUtils::toUtf8(arguments) +
                          "|" + PUtils::toUtf8(workingDir));
}
