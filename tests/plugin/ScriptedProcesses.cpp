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

template <class Value>
static int read(const char* what, unsigned int pid, Value ScriptedFramework::Process::*field,
                Value& value) {
  const ScriptedFramework::Side side(false);
  const int res = framework().call(what + std::to_string(pid));
  value = framework().found[pid].*field;
  return res;
}
int PProcess::getCPUUsage(unsigned int pid, unsigned int& percent) noexcept {
  return read("getCPUUsage ", pid, &ScriptedFramework::Process::cpu, percent);
}
int PProcess::getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept {
  return read("getMemoryUsage ", pid, &ScriptedFramework::Process::mem, kib);
}
int PProcess::isRunning(unsigned int pid, bool& running) noexcept {
  return read("isRunning ", pid, &ScriptedFramework::Process::running, running);
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
