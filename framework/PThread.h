#pragma once

#include <pthread.h>

#include "framework/PApi.h"

/// One thread of execution, started, joined or detached by its owner.
///
/// The object itself belongs to one thread, or to a lock of its owner's.
class VESK_API PThread {
 public:
  using StartRoutine = void* (*)(void*);

  PThread() noexcept = default;
  /// A thread that was neither joined nor detached is waited for, so that what was
  /// made before this object does not go away under it. A thread that destroys
  /// its own object is detached instead.
  ~PThread();
  PThread(PThread const&) = delete;
  PThread& operator=(PThread const&) = delete;

  /// Runs `routine(argument)` on a new thread, which inherits the caller's
  /// signal mask.
  /// @return 0, -EBUSY while an earlier thread is neither joined nor detached, or
  ///         the negated errno for which no thread could be made.
  int pcreate(StartRoutine routine, void* argument) noexcept;

  /// Waits for the thread to end.
  /// @param result what its routine returned.
  /// @return 0; -ESRCH when there is no thread to join: never started, already
  ///         joined or detached; -EDEADLK when called by the thread itself.
  int pjoin(void*& result) noexcept;

  /// Lets the thread end on its own. @return 0, or -ESRCH as `pjoin`.
  int pdetach() noexcept;

  /// An opaque id of the thread last started, comparable with
  /// `getCurrentThreadId()`; null before the first start.
  void* getThreadId() const noexcept;

  /// The id of the calling thread.
  static void* getCurrentThreadId() noexcept;

  /// Names the calling thread for debuggers and process listings.
  /// @param name ASCII; the kernel keeps 15 bytes, and a longer name is cut to
  ///        that rather than refused.
  /// @return 0 or a negated errno.
  static int setName(const char* name) noexcept;

 private:
  pthread_t fThread{};
  bool fStarted = false;
  bool fJoinable = false;
};
