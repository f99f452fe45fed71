#include "framework/PCounter.h"

#include "framework/PCounterSync.h"

// Letting go has to publish what the holder wrote, and the last one has to see
// it, hence acquire and release together.

PCounter::PCounter(int value) noexcept : fValue(value) {}

int PCounter::operator++() noexcept { return fValue.fetch_add(1, std::memory_order_relaxed) + 1; }

int PCounter::change(int delta) noexcept {
  return fValue.fetch_add(delta, std::memory_order_acq_rel) + delta;
}

int PCounter::get() const noexcept { return fValue.load(std::memory_order_relaxed); }

PCounterSync::PCounterSync(int value) noexcept : fValue(value) {}

int PCounterSync::operator++() noexcept { return ++fValue; }

int PCounterSync::change(int delta) noexcept { return fValue += delta; }

int PCounterSync::get() const noexcept { return fValue; }
