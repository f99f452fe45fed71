#pragma once

#include <atomic>

#include "framework/PApi.h"

/// An atomic counter for reference counts.
///
/// Any thread may call any operation. Counting up promises nothing about other
/// memory; counting down does: whoever brings the counter to 0 sees all that the
/// other holders wrote before they let go, and may destroy what was counted.
class VESK_API PCounter {
 public:
  explicit PCounter(int value = 0) noexcept;
  PCounter(PCounter const&) = delete;
  PCounter& operator=(PCounter const&) = delete;

  /// Adds 1. @return the new value.
  int operator++() noexcept;

  /// Adds `delta`, which may be negative. @return the new value.
  int change(int delta) noexcept;

  /// The value at some moment during the call.
  int get() const noexcept;

 private:
  std::atomic<int> fValue;
};
