#pragma once
#include <thread>

struct PThread {
  int pcreate(void* (*routine)(void*), void* argument) {
    fThread = std::thread(routine, argument);
    return 0;
  }
  int pjoin(void*& /*result*/) {
    fThread.join();
    return 0;
  }
  int pdetach() { return 0; }
  void* getThreadId() const { return nullptr; }
  static void* getCurrentThreadId() { return nullptr; }
  static int setName(const char* /*name*/) { return 0; }

  std::thread fThread;
};
