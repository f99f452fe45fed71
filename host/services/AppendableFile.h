#pragma once

#include <string>

#include "host/process/UniqueFd.h"

/// Opens a file to append to it, making it where it is missing (for its owner and
/// group alone) but no folder. Neither the opening nor a write waits for the reader of
/// a pipe.
/// @return 0 or the negated errno that stands in the way.
int openAppendable(std::string const& path, UniqueFd& file);

/// Tells whether `path` can be appended to, by opening it so.
/// @return 0 or the negated errno that stands in the way.
int ensureAppendable(std::string const& path);
