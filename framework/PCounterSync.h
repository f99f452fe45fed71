#pragma once

#include <atomic>

#include "framework/PApi.h"

/// A counter like `PCounter` whose every operation also synchronises.
///
/// All operations on all `PCounterSync` stand in one order that every thread
/// agrees on, so a count read by one thread says something about what another
/// has done. For objects that several threads hold and read the count of.
class VESK_API PCounterSync {
 public:
  explicit PCounterSync(int value = 0) noexcept;
  PCounterSync(PCounterSync const&) = delete;
  PCounterSync& operator=(PCounterSync const&) = delete;

  /// Adds 1. @return the new value.
  int operator++() noexcept;

  /// Adds `delta`, which may be negative. @return the new value.
  int change(int delta) noexcept;

  /// The current value.
  int get() const noexcept;

 private:
  std::atomic<int> fValue;
};
