#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

/// What a process takes of the machine. What cannot be read is nothing.
struct OwnUsage {
  std::optional<std::chrono::microseconds> processorTime;  ///< user and system, since its start
  std::optional<std::uint64_t> residentBytes;
  std::optional<std::uint64_t> virtualBytes;
  std::optional<std::uint64_t> openDescriptors;
  std::optional<std::uint64_t> mostDescriptors;  ///< the soft limit; nothing for none
};

/// What this process takes right now. Any thread may call.
OwnUsage readOwnUsage();
