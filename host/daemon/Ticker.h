#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// Does something again and again on a thread of its own, whatever holds the others,
/// for as long as this object lives.
class Ticker {
 public:
  /// @param interval before the first time and after each; zero: never.
  /// @param work what it throws ends that one time.
  Ticker(std::chrono::microseconds interval, std::function<void()> work);
  ~Ticker();
  Ticker(Ticker const&) = delete;
  Ticker& operator=(Ticker const&) = delete;

 private:
  void run(std::chrono::microseconds interval);

  std::function<void()> fWork;
  std::mutex fMutex;  ///< guards what follows
  std::condition_variable fEnded;
  bool fIsOver = false;
  std::thread fThread;
};
