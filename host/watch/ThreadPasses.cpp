#include "host/watch/ThreadPasses.h"

ThreadPass* ThreadPasses::mine() noexcept {
  const auto self = std::this_thread::get_id();
  for (ThreadPass& pass : fPasses) {
    if (pass.thread.load(std::memory_order_relaxed) == self) return &pass;
  }
  return nullptr;
}

ThreadPass* ThreadPasses::makeMine() noexcept {
  if (ThreadPass* pass = mine(); pass != nullptr) return pass;
  ThreadPass* longestIdle = nullptr;
  for (ThreadPass& pass : fPasses) {
    if (&pass == fLeader || pass.isInCall) continue;
    if (longestIdle == nullptr || pass.ended < longestIdle->ended) longestIdle = &pass;
  }
  if (longestIdle == nullptr) return nullptr;
  ThreadPass& taken = *longestIdle;
  taken.thread = std::this_thread::get_id();
  taken.entry.clear();
  taken.isEntryTold = true;
  taken.names.clear();
  taken.isOpen = false;
  taken.knownNames = 0;
  if (fLeader == nullptr) fLeader = &taken;
  return &taken;
}

void ThreadPasses::elect(ThreadPass& pass, std::chrono::microseconds now,
                         std::chrono::microseconds longestIdle) noexcept {
  const bool isIdle = !fLeader->isInCall && now - fLeader->ended > longestIdle;
  const bool asksMore = pass.knownNames > fLeader->knownNames;
  if (asksMore || (isIdle && pass.knownNames > 0)) fLeader = &pass;
}
