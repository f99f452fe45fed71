#include "host/watch/ThreadPasses.h"

ThreadPass* ThreadPasses::mine() noexcept {
  const auto self = std::this_thread::get_id();
  for (ThreadPass& pass : fPasses) {
    if (pass.thread.load(std::memory_order_relaxed) == self) return &pass;
  }
  return nullptr;
}

ThreadPass* ThreadPasses::makeMine() noexcept {
  ThreadPass* pass = mine();
  if (pass == nullptr) pass = takeLongestIdle();
  if (pass != nullptr && fLeader == nullptr) fLeader = pass;
  return pass;
}

ThreadPass* ThreadPasses::takeLongestIdle() noexcept {
  ThreadPass* longestIdle = nullptr;
  for (ThreadPass& pass : fPasses) {
    if (&pass == fLeader || pass.isInCall) continue;
    if (longestIdle == nullptr || pass.ended < longestIdle->ended) longestIdle = &pass;
  }
  if (longestIdle != nullptr) clear(*longestIdle, std::this_thread::get_id());
  return longestIdle;
}

void ThreadPasses::clear(ThreadPass& pass, std::thread::id thread) noexcept {
  pass.thread = thread;
  pass.entry.clear();
  // A thread whose pass was taken away may be in the midst of an entry.
  pass.isEntryTold = false;
  pass.names.clear();
  pass.isOpen = false;
  pass.knownNames = 0;
  pass.act = {};
}

void ThreadPasses::clear() noexcept {
  fLeader = nullptr;
  for (ThreadPass& pass : fPasses) {
    // A call that is under way ends where it began.
    clear(pass, pass.isInCall ? pass.thread.load() : std::thread::id());
  }
}

void ThreadPasses::elect(ThreadPass& pass, std::chrono::microseconds now,
                         std::chrono::microseconds longestIdle) noexcept {
  const bool isIdle = !fLeader->isInCall && now - fLeader->ended > longestIdle;
  const bool asksMore = pass.knownNames > fLeader->knownNames;
  if (asksMore || (isIdle && pass.knownNames > 0)) fLeader = &pass;
}
