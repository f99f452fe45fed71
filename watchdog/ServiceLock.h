#pragma once

#include <algorithm>
#include <type_traits>

#include "framework/PMutex.h"
#include "watchdog/Guarded.h"

/// Holds a mutex for a scope, if it can be had: a framework's mutex may refuse, and what it
/// guards is then left alone.
class ServiceLock {
 public:
  explicit ServiceLock(PMutex& mutex) noexcept
      : fMutex(mutex), fResult(guarded([&mutex] { return take(mutex); })) {}
  ServiceLock(ServiceLock const&) = delete;
  ServiceLock& operator=(ServiceLock const&) = delete;
  ~ServiceLock() {
    if (fResult != FrameworkResult::ok) return;
    static_cast<void>(guarded([this] {
      fMutex.unlock();
      return FrameworkResult::ok;
    }));
  }

  /// 0 when the mutex is held, otherwise why it is not.
  int result() const noexcept { return fResult; }

 private:
  /// Not every framework's mutex has a result, and only a negative one is a refusal:
  /// `true` is none.
  template <class Mutex>
  static int take(Mutex& mutex) {
    if constexpr (std::is_void_v<decltype(mutex.lock())>) {
      mutex.lock();
      return FrameworkResult::ok;
    } else {
      return std::min<int>(mutex.lock(), FrameworkResult::ok);
    }
  }

  PMutex& fMutex;
  int fResult;
};
