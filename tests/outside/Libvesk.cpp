// A framework that has the same operations as ours, and nothing else in common with it.

#include "framework/PConditionalVar.h"
#include "framework/PCounter.h"
#include "framework/PProcess.h"
#include "framework/PThread.h"
#include "framework/PUtils.h"
#include "framework/Script.h"
#include "framework/veskGetInstance.h"

Script script;

int veskGetInstance(PLiteral const& id, IBase*& instance) {
  instance = script.services[id.c_str()];
  return instance != nullptr ? 0 : -504;
}

PString& PString::operator=(PLiteral const& text) {
  fShared = std::make_shared<const std::wstring>(text.c_str());
  return *this;
}

int PThread::pcreate(void* (*routine)(void*), void* argument) {
  fThread = std::jthread([this, routine, argument] { fResult = routine(argument); });
  return 0;
}
int PThread::pjoin(void*& result) {
  fThread.join();
  result = fResult;
  return 0;
}

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) {
  ++script.waits;
  script.waits.notify_all();
  const auto status = fCondition.wait_for(*mutex, std::chrono::milliseconds(timeoutMs));
  return status == std::cv_status::timeout ? -733 : 0;
}
int PConditionalVar::notifyAll() { return fCondition.notify_all(), 0; }

int PCounter::change(int delta) {
  const std::lock_guard lock(fMutex);
  return static_cast<int>(fValue += delta);
}

int PUtils::int32ToStr(int value, PString& text) {
  text = std::to_wstring(value).c_str();
  return 0;
}

int PProcess::find(PLiteral const& name, Pids& pids, Pids& parentPids) {
  pids = script.processes[name.c_str()];
  parentPids.assign(pids.size(), 1);
  return pids.empty() ? -504 : 0;
}
int PProcess::getCPUUsage(unsigned int, unsigned int&) { return -504; }
int PProcess::getMemoryUsage(unsigned int, unsigned long long&) { return -504; }
int PProcess::isRunning(unsigned int, bool& running) { return running = true, 0; }
int PProcess::kill(unsigned int pid) { return script.note(L"kill " + std::to_wstring(pid)); }
int PProcess::start(PLiteral const& executable, PLiteral const& arguments, PLiteral const& folder,
                    unsigned int& pid) {
  pid = 4000000000;
  return script.note(std::wstring(L"start ") + executable.c_str() + L" " + arguments.c_str() +
                     L" in " + folder.c_str());
}
