#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

/// Where operators reach the host; nowhere where nothing is set.
struct ControlSettings {
  std::string socket;          ///< path of the UNIX socket
  std::string owner;           ///< of the socket, by name or number; empty: the host's own
  std::string group;           ///< likewise
  std::string metricsAddress;  ///< as `parseAddress` takes it; for metrics alone
};

/// The longest path that a UNIX socket can have.
inline constexpr std::size_t kLongestSocketPath = 107;

/// @return nothing when there is no such user.
std::optional<uid_t> userOf(std::string const& nameOrNumber);

/// @return nothing when there is no such group.
std::optional<gid_t> groupOf(std::string const& nameOrNumber);
