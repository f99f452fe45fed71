#pragma once

#include <pthread.h>

#include "framework/PApi.h"

class PMutex;

/// A condition variable whose timed wait follows the monotonic clock: setting
/// the time of day neither shortens nor lengthens a wait.
///
/// Every operation on one that is not initialised returns -EINVAL.
class VESK_API PConditionalVar {
 public:
  PConditionalVar() noexcept = default;
  /// Nobody may be waiting any more.
  ~PConditionalVar();
  PConditionalVar(PConditionalVar const&) = delete;
  PConditionalVar& operator=(PConditionalVar const&) = delete;

  /// Makes it usable. Called once, before other threads know of it.
  /// @return 0, -EBUSY when it is initialised already, or another negated errno.
  int init() noexcept;

  /// Gives `mutex` up, waits to be notified, and takes it again. May also return
  /// 0 without a notification, as every condition variable may.
  /// @param mutex held once by the calling thread.
  /// @param timeoutMs the longest wait, in milliseconds.
  /// @return 0 when notified, `PResult::timedOut` when the time ran out, another
  ///         negative code on failure. The mutex is held again whenever it
  ///         was before.
  int wait(PMutex* mutex, unsigned int timeoutMs) noexcept;

  /// Wakes one waiting thread, if there is one. @return 0 or -EINVAL.
  int notifyOne() noexcept;

  /// Wakes all waiting threads. @return 0 or -EINVAL.
  int notifyAll() noexcept;

 private:
  pthread_cond_t fCondition{};
  bool fInitialized = false;
};
