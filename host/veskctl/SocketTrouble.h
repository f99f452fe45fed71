#pragma once

#include <string>

namespace ctl {

/// Why the host cannot be reached by the socket of this path, and what to do about it:
/// tries once more to find out.
std::string whyUnreachable(std::string const& path);

/// The same for what a connect said.
/// @param error an errno, or 0 when it succeeded.
std::string whyUnreachable(std::string const& path, int error);

/// Whether an address of a UNIX socket has room for it.
bool fitsIntoAddress(std::string const& path);

}  // namespace ctl
