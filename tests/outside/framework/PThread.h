#pragma once
#include <thread>

struct PThread {
  int pcreate(void* (*routine)(void*), void* argument);
  int pjoin(void*& result);
  int pdetach() { return 0; }
  void* getThreadId() const { return nullptr; }
  static void* getCurrentThreadId() { return nullptr; }
  static int setName(const char* /*name*/) { return 0; }

 private:
  void* fResult = nullptr;
  std::jthread fThread;
};
