// The framework's system classes, linked in place of the host's.

#include <gtest/gtest.h>

#include <cerrno>
#include <regex>
#include <utility>

#include "framework/PConditionalVar.h"
#include "framework/PMutex.h"
#include "framework/PProcess.h"
#include "framework/PThread.h"
#include "framework/PTime.h"
#include "framework/PUtils.h"
#include "tests/plugin/ScriptedFramework.h"

int ScriptedFramework::call(std::string const& line, int otherwise) {
  EXPECT_TRUE(!isWorker || mutexesHeld == 1 || line.starts_with("debug")) << line;
  std::unique_lock lock(fMutex);
  fJournal.push_back(line);
  lock.unlock();
  auto scripted = results.find(line);
  if (scripted == results.end()) scripted = results.find(line.substr(0, line.find(' ')));
  const int result = scripted != results.end() ? scripted->second : otherwise;
  if (result == throws) throw line;
  if (result == throwsBadAlloc) throw std::bad_alloc();
  return result;
}

std::string ScriptedFramework::take(const char* pattern) {
  const std::lock_guard lock(fMutex);
  const std::regex wanted("^(?:" + std::string(pattern) + ")");
  std::string text;
  for (std::string const& line : std::exchange(fJournal, {})) {
    if (std::regex_search(line, wanted)) text += (text.empty() ? "\n" : "") + line + "\n";
  }
  return text;
}

void ScriptedFramework::settle() {
  if (!worker) return;
  fThread = std::thread(std::exchange(worker, nullptr));
  parked.acquire();
}

void ScriptedFramework::tick(int result) {
  waitResult = result;
  released.release();
  parked.acquire();
}

void ScriptedFramework::join() {
  settle();
  waitResult = PResult::ok;
  released.release();
  fThread.join();
  while (parked.try_acquire() || released.try_acquire()) continue;
}

PMutex::~PMutex() { framework().call("~PMutex"); }

int PMutex::init(bool recursive) noexcept {
  const int res = framework().call(recursive ? "mutex init recursive" : "mutex init");
  fInitialized = res == PResult::ok;
  return res;
}

int PMutex::lock() noexcept {
  if (!fInitialized) return -EINVAL;
  ++ScriptedFramework::mutexesHeld;
  return -pthread_mutex_lock(&fMutex);
}

int PMutex::unlock() noexcept {
  if (!fInitialized) return -EINVAL;
  --ScriptedFramework::mutexesHeld;
  return -pthread_mutex_unlock(&fMutex);
}

PConditionalVar::~PConditionalVar() { framework().call("~PConditionalVar"); }

int PConditionalVar::init() noexcept { return framework().call("cond init"); }

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) noexcept {
  framework().call("wait " + std::to_string(timeoutMs));
  mutex->unlock();
  framework().parked.release();
  framework().released.acquire();
  mutex->lock();
  return framework().waitResult;
}

int PConditionalVar::notifyAll() noexcept {
  EXPECT_EQ(ScriptedFramework::mutexesHeld, 0);
  return framework().call("notifyAll");
}

PThread::~PThread() {
  framework().call("~PThread");
  if (fJoinable) framework().join();
}

int PThread::pcreate(StartRoutine routine, void* argument) noexcept {
  const int res = framework().call("pcreate");
  fJoinable = res == PResult::ok;
  if (!fJoinable) return res;
  framework().worker = [routine, argument] {
    routine(argument);
    framework().parked.release();
  };
  return PResult::ok;
}

int PThread::pjoin(void*&) noexcept {
  const int res = framework().call("pjoin", fJoinable ? PResult::ok : -ESRCH);
  if (std::exchange(fJoinable, false)) framework().join();
  return res;
}

int PThread::pdetach() noexcept { return framework().call("pdetach"); }

void* PThread::getThreadId() const noexcept { return reinterpret_cast<void*>(0x11); }

void* PThread::getCurrentThreadId() noexcept {
  return reinterpret_cast<void*>(ScriptedFramework::isWorker ? 0x22 : 0x33);
}

int PThread::setName(const char* name) noexcept {
  const int res = framework().call(std::string("setName ") + name);
  ScriptedFramework::isWorker = true;
  return res;
}

long long PTime::getTickCount() noexcept { return framework().now; }

long long PTime::getTickCountDiff(long long from, long long to) noexcept { return to - from; }

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
