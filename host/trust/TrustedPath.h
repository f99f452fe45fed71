#pragma once

#include <string>
#include <variant>

#include "host/process/UniqueFd.h"

// Whom this process takes files from, and where it writes to. Trusted are root, the
// effective user, and whoever the program's own file or a folder on the way to it belongs
// to: these can replace the program itself, so nothing would be won by mistrusting them.
//
// A path is walked from the root folder on, link by link. Each folder, each link and the
// file itself must belong to one of them and be writable by nobody else; a group that has
// the number of a trusted user (root's, or a user's private one) counts as that user,
// unless an access control list says more. A folder that others can write to, but whose
// entries are their owners' (sticky, as /tmp), will do: then what is in it must be trusted.
//
// Nobody else can change such a path between the check and the use.

/// Why something is not to be had.
struct Distrust {
  int error;         ///< a negated errno; -EPERM if it is there but not trusted
  std::string text;  ///< for people: which part of the path, why, and what to do
};

/// Opens what is there, for its content.
/// @param flags of open(2), without O_CREAT.
std::variant<UniqueFd, Distrust> openTrusted(std::string const& path, int flags);

/// Opens a file to append to, making it where it is missing (for its owner and group
/// alone) but no folder. A file must belong to a trusted user and have no second name; a
/// pipe must belong to a trusted user, too; a terminal and the like will do; a disk will
/// not. Folders on the way may be writable by their group, as /var/log often is: each is
/// opened relative to the one before, and the last name is never followed as a link.
std::variant<UniqueFd, Distrust> openTrustedOutput(std::string const& path);

/// Why the path, as far as it is there, is not trusted; empty if it is, or cannot be read.
std::string distrustOf(std::string const& path);

/// Why the path is not there, or not trusted; empty if it is both. Then nobody else can put
/// anything in its place, as one could for what is missing in a folder for all.
std::string obstacleTo(std::string const& path);

/// The same as `distrustOf` for what `openTrustedOutput` would open.
std::string distrustOfOutput(std::string const& path);

/// The same as `distrustOf` for the folder that a file is in or would be in.
std::string distrustOfFolder(std::string const& file);

/// Whom the way to this program belongs to beside root and the effective user: a comma
/// between user numbers; empty as a rule.
std::string ownersOfThisProgram();
