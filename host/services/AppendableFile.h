#pragma once

#include <string>

/// Tells whether `path` can be appended to, making the file where it is missing
/// (for its owner and group alone) but no folder.
/// @return 0 or the negated errno that stands in the way.
int ensureAppendable(std::string const& path);
