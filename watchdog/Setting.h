#pragma once

#include <atomic>

/// A number or a switch that one thread may change while others read it.
///
/// A value is read and written as a whole. Nothing is promised about the order in
/// which changes of several settings are seen.
template <class Value>
class Setting {
  // No larger than the value itself, and no hidden lock of another library's.
  static_assert(sizeof(std::atomic<Value>) == sizeof(Value));
  static_assert(alignof(std::atomic<Value>) == alignof(Value));
  static_assert(std::atomic<Value>::is_always_lock_free);

 public:
  explicit Setting(Value value) noexcept : fValue(value) {}

  Value get() const noexcept { return fValue.load(std::memory_order_relaxed); }
  void set(Value value) noexcept { fValue.store(value, std::memory_order_relaxed); }

 private:
  std::atomic<Value> fValue;
};
