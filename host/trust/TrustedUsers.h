#pragma once

#include <sys/types.h>

#include <set>

/// Root, the effective user, and the owners of this program's file and of the folders on
/// the way to it; found out at the first call.
std::set<uid_t> const& trustedUsers();
