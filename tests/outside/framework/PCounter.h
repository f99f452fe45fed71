#pragma once
#include <mutex>

struct PCounter {
  int operator++() { return change(1); }
  int change(int delta);

 private:
  std::mutex fMutex;
  long long fValue = 0;
};
