#pragma once
#include <mutex>

struct PMutex : std::recursive_mutex {
  int init(bool /*recursive*/) { return 0; }
  bool lock() {
    std::recursive_mutex::lock();
    return true;
  }
};
