#pragma once
#include <mutex>

struct PMutex : std::recursive_mutex {
  int init(bool /*recursive*/) { return 0; }
};
