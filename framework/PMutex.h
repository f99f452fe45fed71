#pragma once

#include <pthread.h>

#include "framework/PApi.h"

/// A mutex that is initialised in a step of its own, so that a failure of that
/// step has a result.
///
/// Every operation on a mutex that is not initialised returns -EINVAL and does
/// nothing. `lock` and `unlock` are named so that `std::lock_guard` accepts it.
class VESK_API PMutex {
 public:
  PMutex() noexcept = default;
  /// Nobody may hold the mutex any more.
  ~PMutex();
  PMutex(PMutex const&) = delete;
  PMutex& operator=(PMutex const&) = delete;

  /// Makes the mutex usable. Called once, before other threads know of it.
  /// @param recursive whether one thread may lock it several times.
  /// @return 0, -EBUSY when it is initialised already, or another negated errno.
  int init(bool recursive) noexcept;

  /// Waits until the calling thread holds the mutex.
  /// @return 0, -EINVAL, or -EDEADLK where a mutex that is not recursive is
  ///         already held by the caller.
  int lock() noexcept;

  /// Takes the mutex if nobody else holds it. @return 0, -EBUSY or -EINVAL.
  int tryLock() noexcept;

  /// Gives the mutex back. @return 0, or -EPERM when the caller does not hold it.
  int unlock() noexcept;

 private:
  friend class PConditionalVar;

  pthread_mutex_t fMutex{};
  bool fInitialized = false;
};
