#pragma once
#include <mutex>

struct PCounter {
  int operator++() { return change(1); }
  int change(int delta) {
    const std::lock_guard lock(fMutex);
    return static_cast<int>(fValue += delta);
  }

  std::mutex fMutex;
  long long fValue = 0;
};
