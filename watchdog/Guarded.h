#pragma once

#include <new>
#include <utility>

#include "watchdog/FrameworkResult.h"

/// Runs `operation` and returns its result; an exception becomes a result, for none
/// may leave the plug-in, and no framework promises that none comes in.
///
/// @return the operation's own result, `FrameworkResult::outOfMemory` for
///         `std::bad_alloc`, `FrameworkResult::failed` for any other exception.
template <class Operation>
int guarded(Operation&& operation) noexcept {
  try {
    return std::forward<Operation>(operation)();
  } catch (std::bad_alloc const&) {
    return FrameworkResult::outOfMemory;
  } catch (...) {
    return FrameworkResult::failed;
  }
}
