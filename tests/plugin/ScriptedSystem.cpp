// The framework's system classes but for the processes, linked in place of the host's.

#include <gtest/gtest.h>

#include <cerrno>
#include <regex>
#include <utility>

#include "framework/PConditionalVar.h"
#include "framework/PMutex.h"
#include "framework/PThread.h"
#include "framework/PTime.h"
#include "tests/plugin/ScriptedFramework.h"

int ScriptedFramework::call(std::string_view text, int otherwise) {
  const Side side(false);
  const std::string line(text);
  EXPECT_TRUE(!isWorker || mutexesHeld == 1 || line.starts_with("debug") ||
              line.starts_with("error"))
      << line;
  std::unique_lock lock(fMutex);
  fJournal.push_back(line);
  lock.unlock();
  return heed(line, meddle(line, otherwise));
}

int ScriptedFramework::heed(std::string const& line, int result) {
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
  const int res = framework().quiet("lock");
  if (res != PResult::ok) return res;
  ++ScriptedFramework::mutexesHeld;
  return -pthread_mutex_lock(&fMutex);
}

int PMutex::unlock() noexcept {
  if (!fInitialized) return -EINVAL;
  const int res = framework().quiet("unlock");
  --ScriptedFramework::mutexesHeld;
  pthread_mutex_unlock(&fMutex);
  return res;
}

PConditionalVar::~PConditionalVar() { framework().call("~PConditionalVar"); }

int PConditionalVar::init() noexcept { return framework().call("cond init"); }

int PConditionalVar::wait(PMutex* mutex, unsigned int timeoutMs) noexcept {
  const ScriptedFramework::Side side(false);
  const int res = framework().call("wait " + std::to_string(timeoutMs));
  if (res != PResult::ok) return res;
  pthread_mutex_unlock(&mutex->fMutex);
  framework().parked.release();
  framework().released.acquire();
  pthread_mutex_lock(&mutex->fMutex);
  return framework().waitResult;
}

int PConditionalVar::notifyAll() noexcept {
  EXPECT_EQ(ScriptedFramework::mutexesHeld, 0);
  return framework().call("notifyAll");
}

PThread::~PThread() {
  const ScriptedFramework::Side side(false);
  framework().call("~PThread");
  if (fJoinable) framework().join();
}

int PThread::pcreate(StartRoutine routine, void* argument) noexcept {
  const ScriptedFramework::Side side(false);
  const int res = framework().call("pcreate");
  fJoinable = res == PResult::ok;
  if (!fJoinable) return res;
  framework().worker = [routine, argument] {
    const ScriptedFramework::Side inside(true);
    routine(argument);
    framework().parked.release();
  };
  return PResult::ok;
}

int PThread::pjoin(void*&) noexcept {
  const ScriptedFramework::Side side(false);
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
  const ScriptedFramework::Side side(false);
  const int res = framework().call(std::string("setName ") + name);
  ScriptedFramework::isWorker = true;
  return res;
}

long long PTime::getTickCount() noexcept { return framework().now; }

long long PTime::getTickCountDiff(long long from, long long to) noexcept { return to - from; }
