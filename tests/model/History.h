#pragma once

#include <array>
#include <iosfwd>

#include "tests/model/World.h"

/// One thing that happens, and its numbers; as text a line such as "vanish 10 0 0 0 0 0".
struct Step {
  std::size_t kind = 0;
  std::array<long long, 6> values = {};
};
using History = std::vector<Step>;

History makeHistory(unsigned long long seed);
std::ostream& operator<<(std::ostream& out, History const& history);
std::istream& operator>>(std::istream& in, History& history);

/// Plays `history` in `world`. @return the number of passes.
unsigned long play(History const& history, Subject& subject, World& world);
