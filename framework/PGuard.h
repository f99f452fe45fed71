#pragma once

#include <new>
#include <utility>

#include "framework/PResult.h"

/// Runs `operation` and returns its result; an exception becomes a result.
///
/// No exception crosses an interface of the framework. Whoever implements an
/// operation that may allocate, or that calls something that may throw, wraps
/// its body in this.
///
/// @return the operation's own result, `PResult::outOfMemory` for
///         `std::bad_alloc`, `PResult::failed` for any other exception.
template <class Operation>
int pGuarded(Operation&& operation) noexcept {
  try {
    return std::forward<Operation>(operation)();
  } catch (std::bad_alloc const&) {
    return PResult::outOfMemory;
  } catch (...) {
    return PResult::failed;
  }
}
