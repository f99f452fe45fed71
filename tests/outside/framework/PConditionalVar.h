#pragma once
#include <condition_variable>

#include "framework/PMutex.h"

struct PConditionalVar {
  int init() { return 0; }
  int wait(PMutex* mutex, unsigned int timeoutMs);
  int notifyAll() {
    fCondition.notify_all();
    return 0;
  }

  std::condition_variable_any fCondition;
};
