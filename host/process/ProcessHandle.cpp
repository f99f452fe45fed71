#include "host/process/ProcessHandle.h"

#include <cerrno>

#include "framework/PResult.h"

int ProcessHandle::open(ProcessTree const& tree, IProcessSignals& signals, unsigned int pid,
                        Look const& look, ProcessHandle& handle, ProcessStat& stat) {
  handle = ProcessHandle();
  handle.fTree = &tree;
  handle.fSignals = &signals;
  handle.fPid = pid;
  // First the hold, then the look: what is read is then the state of the process
  // that is held, or of one that took over a number whose hold is void.
  const int opened = signals.open(pid, handle.fDescriptor);
  if (opened == PResult::notFound) return opened;
  int res = look(pid, stat);
  if (res == -EMFILE) {
    // The hold took the last descriptor; looking is worth more.
    handle.fDescriptor.reset();
    res = look(pid, stat);
  }
  if (res != PResult::ok) return res;
  handle.fStartTicks = stat.startTicks;
  return PResult::ok;
}

int ProcessHandle::confirm() const {
  ProcessStat stat;
  const int res = fTree->readLiving(fPid, stat);
  return res == PResult::ok && stat.startTicks != fStartTicks ? PResult::notFound : res;
}

int ProcessHandle::send(int signal) const {
  if (fDescriptor) return fSignals->send(fDescriptor, signal);
  const int res = confirm();
  return res == PResult::ok ? fSignals->send(fPid, signal) : res;
}
