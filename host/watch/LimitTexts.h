#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// Sentences about limits, for records and explanations alike.

/// Something that is averaged over a window.
struct Quantity {
  const char* name;  ///< "CPU"
  const char* unit;  ///< "percent"
};

inline constexpr Quantity kCpuQuantity{"CPU", "percent"};
inline constexpr Quantity kMemoryQuantity{"memory", "KiB"};

/// "1 process", "2 processes" and the like. @param plural the whole word.
std::string countOf(std::uint64_t count, const char* singular, const char* plural);

/// "CPU average 91 of at most 80 percent over 3 samples".
std::string averageText(Quantity const& quantity, std::uint64_t average, std::uint64_t limit,
                        unsigned int samples);

/// "5 instances count, 5 are too many".
std::string tooManyText(unsigned int count, unsigned int limit);

/// "1 instance counts, 2 are wanted".
/// @param limit negative where none is set, which no number of instances meets.
std::string tooFewText(unsigned int count, int limit);

/// Whether fewer instances count than are wanted.
inline bool isTooFew(unsigned int count, int limit) {
  // Compared as unsigned: a negative limit is more than there can ever be.
  return count < static_cast<unsigned int>(limit);
}

/// How long a window lasts: the watchdog reckons in milliseconds of 32 bits.
inline std::chrono::milliseconds windowLength(unsigned int periodInSeconds) {
  constexpr std::uint32_t kMsPerSecond = 1000;
  return std::chrono::milliseconds(std::uint32_t{periodInSeconds} * kMsPerSecond);
}
