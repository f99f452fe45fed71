#pragma once

#include <netinet/in.h>

#include <optional>
#include <string>

#include "host/process/UniqueFd.h"

/// Reads "127.0.0.1:9100" or "[::1]:9100": a numeric address, and a port above 0.
std::optional<sockaddr_storage> parseAddress(std::string const& text);

/// A TCP socket that listens.
/// @return none, with the reason in `cause`, when it cannot be opened.
UniqueFd openMetricsSocket(std::string const& address, std::string& cause);
