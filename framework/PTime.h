#pragma once

#include "framework/PApi.h"

/// Time for measuring durations. Safe to call from any thread.
class VESK_API PTime {
 public:
  PTime() = delete;

  /// Milliseconds on a clock that only runs forward, from an unknown start above
  /// 0. Setting the time of day does not move it, and it stands still while the
  /// machine is suspended.
  static long long getTickCount() noexcept;

  /// Milliseconds from the tick count `from` to the tick count `to`; negative
  /// when `to` is the earlier one. Wraps around rather than overflow.
  static long long getTickCountDiff(long long from, long long to) noexcept;
};
