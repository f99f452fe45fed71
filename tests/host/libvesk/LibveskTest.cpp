// The framework's facilities on Linux, as a plug-in meets them.

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <cerrno>

#include "framework/PString.h"
#include "framework/PThread.h"

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

}  // namespace
