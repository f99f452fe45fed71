#pragma once

/// Results of the framework that the watchdog itself makes or tells apart: a part of
/// what plug-ins and frameworks agree on, whichever framework stands around this one.
/// All other codes are passed on as they come.
namespace FrameworkResult {

/// The operation succeeded.
inline constexpr int ok = 0;

/// A failure without a better code, such as an unknown exception.
inline constexpr int failed = -999;

/// Memory ran out (the negated ENOMEM).
inline constexpr int outOfMemory = -12;

/// What was asked for does not exist: no such process, service or key.
inline constexpr int notFound = -504;

/// A timed wait ran out before it was signalled.
inline constexpr int timedOut = -733;

}  // namespace FrameworkResult
