#include "host/daemon/Ticker.h"

#include <pthread.h>

#include <algorithm>
#include <exception>
#include <utility>

Ticker::Ticker(std::chrono::microseconds interval, std::function<void()> work)
    : fWork(std::move(work)) {
  if (interval.count() == 0) return;
  // What no clock's range is short of.
  interval = std::min<std::chrono::microseconds>(interval, std::chrono::hours(24));
  fThread = std::thread([this, interval] { run(interval); });
}

Ticker::~Ticker() {
  if (!fThread.joinable()) return;
  {
    const std::lock_guard lock(fMutex);
    fIsOver = true;
  }
  fEnded.notify_one();
  fThread.join();
}

void Ticker::run(std::chrono::microseconds interval) {
  ::pthread_setname_np(::pthread_self(), "[life]");
  std::unique_lock lock(fMutex);
  while (!fEnded.wait_for(lock, interval, [this] { return fIsOver; })) {
    lock.unlock();
    try {
      fWork();
    } catch (std::exception const&) {
      // No memory for it this time.
    }
    lock.lock();
  }
}
