#pragma once

#include <sys/resource.h>

#include <cstddef>

/// How many descriptors may be kept open only to save work. What does not fit is
/// opened and closed each time. One thread at a time.
class DescriptorBudget {
 public:
  explicit DescriptorBudget(std::size_t most) noexcept : fLeft(most) {}
  DescriptorBudget(DescriptorBudget const&) = delete;
  DescriptorBudget& operator=(DescriptorBudget const&) = delete;

  /// @return false when all are taken.
  bool take() noexcept {
    if (fLeft == 0) return false;
    --fLeft;
    return true;
  }
  void giveBack() noexcept { ++fLeft; }

 private:
  std::size_t fLeft;
};

/// Raises this process's soft limit of open descriptors as far as may be useful.
/// @return the limits as they were, for the programs that this process starts.
rlimit raiseDescriptorLimit();

/// The part of this process's open descriptors that may be kept for convenience:
/// the rest is for what cannot do without.
std::size_t descriptorsToKeep();
