// The framework's facilities on Linux, as a plug-in meets them.

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <cerrno>
#include <new>

#include "framework/PConditionalVar.h"
#include "framework/PMutex.h"
#include "framework/PProcess.h"
#include "framework/PResult.h"
#include "framework/PString.h"
#include "framework/PThread.h"
#include "framework/veskGetInstance.h"
#include "host/RefCounted.h"
#include "host/libvesk/Runtime.h"

namespace {

TEST(TextTest, StringsOwnWhatTheyHoldAndLiteralsView) {
  PString text(L"abc");
  const PLiteral view = text;
  EXPECT_EQ(view.c_str(), text.c_str());
  PString copy = text;
  text.append(text);
  text.append(L"!");
  EXPECT_TRUE(text == L"abcabc!");
  EXPECT_TRUE(copy == L"abc");
  text = PLiteral(text.c_str() + 3);  // a view of itself
  EXPECT_TRUE(text == L"abc!");
  copy = std::move(text);
  EXPECT_TRUE(copy == L"abc!" && text.isEmpty() && text.c_str()[0] == 0);
  EXPECT_TRUE(PLiteral(nullptr).isEmpty());
  EXPECT_TRUE(PLiteral(L"A") < L"AB" && PLiteral(L"AB") < L"B" && PLiteral(L"z") < L"\u00E9");
  EXPECT_FALSE(PLiteral(L"A") < L"A" || PLiteral(L"A") == L"a");
}

TEST(ThreadTest, WhatIsNotInitialisedFailsAndDoesNothing) {
  PMutex mutex;
  PConditionalVar condition;
  EXPECT_EQ(mutex.lock(), -EINVAL);
  EXPECT_EQ(mutex.unlock(), -EINVAL);
  EXPECT_EQ(condition.notifyAll(), -EINVAL);
  EXPECT_EQ(condition.init(), 0);
  EXPECT_EQ(condition.wait(&mutex, 1), -EINVAL);
  EXPECT_EQ(mutex.init(false), 0);
  EXPECT_EQ(mutex.lock(), 0);
  EXPECT_EQ(mutex.lock(), -EDEADLK);
  EXPECT_EQ(condition.wait(&mutex, 1), PResult::timedOut);
  EXPECT_EQ(mutex.unlock(), 0);

  PMutex recursive;
  EXPECT_EQ(recursive.init(true), 0);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(recursive.lock(), 0);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(recursive.unlock(), 0);
}

TEST(ThreadTest, IsJoinedOnce) {
  PThread thread;
  void* result = nullptr;
  EXPECT_EQ(thread.pjoin(result), -ESRCH);
  EXPECT_EQ(thread.pdetach(), -ESRCH);
  std::array<char, 16> name{};
  const auto run = [](void* kept) {
    EXPECT_EQ(PThread::setName("[PProcessWatchdog]"), 0);
    ::pthread_getname_np(::pthread_self(), static_cast<char*>(kept), 16);
    return PThread::getCurrentThreadId();
  };
  ASSERT_EQ(thread.pcreate(run, name.data()), 0);
  EXPECT_EQ(thread.pcreate(run, name.data()), -EBUSY);
  EXPECT_EQ(thread.pjoin(result), 0);
  EXPECT_EQ(result, thread.getThreadId());
  EXPECT_STREQ(name.data(), "[PProcessWatchd") << "what the kernel keeps";
  EXPECT_EQ(thread.pdetach(), -ESRCH) << "a detach after a join touches nothing";
}

class Service : public RefCounted<IBase> {
 public:
  explicit Service(int& living) : fLiving(living) { ++fLiving; }

 private:
  ~Service() override { --fLiving; }
  int& fLiving;
};

TEST(RuntimeTest, ServicesAreFoundHeldAndGivenBack) {
  int living = 0;
  IBase* instance = nullptr;
  auto* const shared = new Service(living);
  Runtime::provide(L"shared", shared);
  Runtime::provide(L"new", [&](IBase*& out) { return out = new Service(living), 0; });
  Runtime::provide(L"refuses", [&](IBase*& out) { return out = shared, -13; });
  Runtime::provide(L"throws", [](IBase*&) -> int { throw std::bad_alloc(); });
  EXPECT_EQ(veskGetInstance(L"shared", instance), 0);
  EXPECT_EQ(instance, shared);
  EXPECT_EQ(veskGetInstance(L"refuses", instance), -13);
  EXPECT_EQ(instance, nullptr);
  EXPECT_EQ(veskGetInstance(L"throws", instance), PResult::outOfMemory);
  EXPECT_EQ(veskGetInstance(L"Shared", instance), PResult::notFound);
  EXPECT_EQ(instance, nullptr);
  EXPECT_EQ(veskGetInstance(L"new", instance), 0);
  EXPECT_EQ(living, 2);
  instance->incRef();
  instance->decRef();
  Runtime::reset();
  EXPECT_EQ(living, 0);

  bool running = false;
  EXPECT_EQ(PProcess::isRunning(1, running), -ENOSYS) << "no host, no processes";
}

}  // namespace
