#pragma once

/// Results of framework operations: signed 32-bit, 0 for success, negative for
/// a failure.
///
/// The framework's own codes stand here. Every other failure of the operating
/// system is passed on as the negated `errno` of the call that failed, so that
/// -13 is EACCES wherever it is read.
namespace PResult {

/// The operation succeeded.
inline constexpr int ok = 0;

/// A failure without a better code, such as an unknown exception.
inline constexpr int failed = -999;

/// Memory ran out (the negated ENOMEM).
inline constexpr int outOfMemory = -12;

/// What was asked for does not exist: no such process, service, key or file.
inline constexpr int notFound = -504;

/// A timed wait ran out before it was signalled.
inline constexpr int timedOut = -733;

}  // namespace PResult
