// The framework's system classes, linked in place of the host's.

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "framework/PConditionalVar.h"
#include "framework/PMutex.h"
#include "framework/PProcess.h"
#include "framework/PThread.h"
#include "framework/PTime.h"
#include "framework/PUtils.h"
#include "framework/veskGetInstance.h"
#include "tests/plugin/ScriptedFramework.h"

namespace {

ScriptedFramework& framework() { return *ScriptedFramework::current; }

std::string line(const char* word, unsigned int pid) { return word + (" " + std::to_string(pid)); }

using Start = std::pair<PThread::StartRoutine, void*>;

void* runWorker(void* argument) {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  framework().workerBegins();
  void* const result = start->first(start->second);
  framework().workerEnds();
  return result;
}

}  // namespace

int veskGetInstance(PLiteral const& id, IBase*& instance) noexcept {
  auto const& services = framework().services;
  const auto found = services.find(PUtils::toUtf8(id));
  const int res = framework().call("instance " + PUtils::toUtf8(id),
                                   found != services.end() ? PResult::ok : PResult::notFound);
  instance = res == PResult::ok ? found->second : nullptr;
  return res;
}

PMutex::~PMutex() {
  framework().record("~PMutex");
  if (fInitialized) pthread_mutex_destroy(&fMutex);
}

int PMutex::init(bool recursive) noexcept {
  const int res = framework().call(line("mutex init", recursive));
  if (res != PResult::ok) return res;
  fInitialized = true;
  return -pthread_mutex_init(&fMutex, nullptr);
}

int PMutex::lock() noexcept {
  if (!fInitialized) return -EINVAL;
  ++framework().locks;
  ++ScriptedFramework::mutexesHeld;
  return -pthread_mutex_lock(&fMutex);
}

int PMutex::unlock() noexcept {
  if (!fInitialized) return -EINVAL;
  --ScriptedFramework::mutexesHeld;
  return -pthread_mutex_unlock(&fMutex);
}

PConditionalVar::~PConditionalVar() { framework().record("~PConditionalVar"); }

int PConditionalVar::init() noexcept { return framework().call("cond init"); }

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) noexcept {
  framework().call(line("wait", timeoutMs));
  mutex->unlock();
  const int res = framework().park();
  mutex->lock();
  return res;
}

int PConditionalVar::notifyAll() noexcept {
  if (ScriptedFramework::mutexesHeld != 0) ADD_FAILURE() << "notified with the mutex held";
  return framework().call("notifyAll");
}

PThread::~PThread() {
  framework().record("~PThread");
  if (!fJoinable) return;
  framework().drain();
  pthread_join(fThread, nullptr);
}

int PThread::pcreate(StartRoutine routine, void* argument) noexcept {
  const int res = framework().call("pcreate");
  if (res != PResult::ok) return res;
  auto start = std::make_unique<Start>(routine, argument);
  framework().workerCreated();
  fStarted = fJoinable = true;
  return -pthread_create(&fThread, nullptr, runWorker, start.release());
}

int PThread::pjoin(void*& result) noexcept {
  const int res = framework().call("pjoin", fJoinable ? PResult::ok : -ESRCH);
  if (res != PResult::ok) return res;
  framework().drain();
  fJoinable = false;
  return -pthread_join(fThread, &result);
}

int PThread::pdetach() noexcept { return framework().call("pdetach", fJoinable ? 0 : -ESRCH); }

// Ids that a journal can name.
void* PThread::getThreadId() const noexcept {
  return fStarted ? reinterpret_cast<void*>(0x11) : nullptr;
}

void* PThread::getCurrentThreadId() noexcept {
  return reinterpret_cast<void*>(ScriptedFramework::isWorker ? 0x22 : 0x33);
}

int PThread::setName(const char* name) noexcept {
  framework().record(std::string("setName ") + name);
  return PResult::ok;
}

long long PTime::getTickCount() noexcept {
  return std::exchange(framework().now, framework().now + framework().tickStep);
}

long long PTime::getTickCountDiff(long long from, long long to) noexcept { return to - from; }

int PProcess::find(PLiteral const& name, std::vector<unsigned int>& pids,
                   std::vector<unsigned int>& parentPids) noexcept {
  if (!pids.empty() || !parentPids.empty()) ADD_FAILURE() << "lists not fresh";
  auto const& instances = framework().processes[PUtils::toUtf8(name)];
  const int res = framework().call("find " + PUtils::toUtf8(name),
                                   instances.empty() ? PResult::notFound : PResult::ok);
  for (auto const& process : instances) {
    pids.push_back(process.pid);
    parentPids.push_back(process.parent);
  }
  return res;
}

// A reading sets its output even when its result is scripted to be a failure.
int PProcess::getCPUUsage(unsigned int pid, unsigned int& percent) noexcept {
  percent = framework().processOf(pid).cpu;
  return framework().call(line("getCPUUsage", pid));
}

int PProcess::getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept {
  kib = framework().processOf(pid).mem;
  return framework().call(line("getMemoryUsage", pid));
}

int PProcess::isRunning(unsigned int pid, bool& running) noexcept {
  running = framework().processOf(pid).running;
  return framework().call(line("isRunning", pid));
}

int PProcess::kill(unsigned int pid) noexcept { return framework().call(line("kill", pid)); }

int PProcess::start(PLiteral const& executable, PLiteral const& arguments,
                    PLiteral const& workingDir, unsigned int& pid) noexcept {
  pid = 500;
  return framework().call("start " + PUtils::toUtf8(executable) + "|" + PUtils::toUtf8(arguments) +
                          "|" + PUtils::toUtf8(workingDir));
}
