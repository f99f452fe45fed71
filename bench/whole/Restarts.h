#pragma once

#include "bench/whole/Scratch.h"
#include "bench/whole/Statistics.h"

/// Has the host restart a program that takes its time to end, again and again.
/// @return milliseconds from the end of each instance, as its last act notes it, to
///         the start of the next, as its first act notes it; negative if the next
///         one started before.
/// @throws std::runtime_error, Interruption
Series measureRestarts(Scratch const& scratch, unsigned int count);
