// Carrying an action out: ending, starting and restarting.

#include "framework/IOSRestart.h"
#include "framework/PProcess.h"
#include "watchdog/ObtainInstance.h"
#include "watchdog/PProcessWatchdog.h"
#include "watchdog/ProcessWatchdogResult.h"

int PProcessWatchdog::__executeAction(ProcEntry const& procEntry, unsigned int pid) {
  const ProcessWatchdogActionEnum action = procEntry.entry->getAction();
  PString actionName;
  __actionToString(action, actionName);
  __logInfo(L"[%s] Executing action `%ls' to pid %u", "__executeAction", actionName.c_str(), pid);
  switch (action) {
    case none:
      return FrameworkResult::ok;
    case terminate:
      return __terminateProcess(procEntry, pid);
    case restart:
      return __restartProcess(procEntry, pid);
    case osrestart:
      return __restartOs(procEntry);
    default:
      return ProcessWatchdogResult::unknownAction;
  }
}

int PProcessWatchdog::__terminateProcess(ProcEntry const& procEntry, unsigned int pid) {
  PString const name(procEntry.entry->name());
  __logInfo(L"[%s] Terminating process %u for `%ls'", "__terminateProcess", pid, name.c_str());
  return PProcess::kill(pid);
}

int PProcessWatchdog::__terminateAllProcesses(Pids const& pids) {
  int res = FrameworkResult::ok;
  for (const unsigned int pid : pids) {
    res = PProcess::kill(pid);
    if (res == FrameworkResult::notFound) {
      res = FrameworkResult::ok;
    } else if (res != FrameworkResult::ok) {
      __logError(L"[%s] Error killing process pid=%u, res=%d", "__terminateAllProcesses", pid, res);
    }
  }
  return res;
}

PProcessWatchdog::Program::Program(ProcEntry const& procEntry)
    : name(procEntry.entry->name()),
      executable(procEntry.entry->executable()),
      arguments(procEntry.entry->arguments()),
      workingDir(procEntry.entry->workingDir()) {}

int PProcessWatchdog::__startProcess(Program const& program) {
  unsigned int pid = 0;
  const int res = PProcess::start(program.executable, program.arguments, program.workingDir, pid);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error restarting `%ls', res=%d", "__startProcess", program.executable.c_str(),
               res);
  } else {
    __logInfo(L"[%s] Successfully restarted `%ls' '%ls', new pid=%u", "__startProcess",
              program.name.c_str(), program.arguments.c_str(), pid);
  }
  return res;
}

int PProcessWatchdog::__restartProcess(ProcEntry const& procEntry, unsigned int pid) {
  Program const program(procEntry);
  PString const& name = program.name;
  __logInfo(L"[%s] Terminating process %u for `%ls' before restarting", "__restartProcess", pid,
            name.c_str());
  int res = PProcess::kill(pid);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error terminating process %u for `%ls'", "__restartProcess", pid,
               name.c_str());
    return res;
  }
  res = __startProcess(program);
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error starting process for `%ls', res=%d", "__restartProcess", name.c_str(),
               res);
  }
  return res;
}

int PProcessWatchdog::__restartOs(ProcEntry const& /*procEntry*/) {
  PBaseptr<IOSRestart> osRestart;
  int res = obtainInstance(ID_IOSRESTART, osRestart);
  if (res == FrameworkResult::ok && !osRestart) res = FrameworkResult::notFound;
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error obtaining instance of IOSRestart, res=%d", "__restartOs", res);
    return res;
  }
  __logInfo(L"[%s] Restarting OS", "__restartOs");
  res = guarded([&] { return osRestart->restart(0); });
  if (res != FrameworkResult::ok) {
    __logError(L"[%s] Error restaring OS, res=%d", "__restartOs", res);
  }
  return res;
}
