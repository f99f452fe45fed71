// A framework that has the same operations as ours, and nothing else in common with it.
#include "framework/PConditionalVar.h"
#include "framework/PProcess.h"
#include "framework/veskGetInstance.h"

Script script;

int veskGetInstance(PLiteral const& id, IBase*& instance) {
  instance = script.services[id];
  return instance != nullptr ? 0 : -504;
}

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) {
  script.waits.release();
  const auto status = fCondition.wait_for(*mutex, std::chrono::milliseconds(timeoutMs));
  return status == std::cv_status::timeout ? -733 : 0;
}

int PProcess::find(PLiteral const& name, Pids& pids, Pids& parentPids) {
  pids = script.processes[name];
  parentPids.assign(pids.size(), 1);
  return pids.empty() ? -504 : 0;
}
int PProcess::start(PLiteral const& exe, PLiteral const& args, PLiteral const& dir, unsigned& pid) {
  pid = 4000000000;
  return script.note(std::wstring(exe.c_str()) + L" " + args.c_str() + L" in " + dir.c_str());
}
