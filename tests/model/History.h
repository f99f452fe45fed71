#pragma once

#include <iosfwd>
#include <vector>

#include "tests/model/World.h"

/// One thing that happens, and its numbers; as text a line such as "appear 10 1 7".
struct Step {
  int kind = 0;
  long long values[3] = {};
};
using History = std::vector<Step>;

enum Kind {
  kStart,    ///< the plug-in anew; with the configuration of now
  kTick,     ///< the wait ends: its result
  kClock,    ///< forward by ms
  kClockAt,  ///< ms
  kDrift,    ///< ms
  kAppear,   ///< pid, name, parent
  kVanish,   ///< pid
  kCpu,      ///< pid, percent; the next three likewise
  kMem,
  kRunning,
  kParent,
  kChild,                                    ///< pid and name of what is started next
  kSpare,                                    ///< whether what is killed stays
  kCalm,                                     ///< nothing fails any more
  kCreate,                                   ///< slot
  kAdd,                                      ///< slot
  kRemove,                                   ///< name
  kContains,                                 ///< name
  kInfo,                                     ///< name
  kFault,                                    ///< + call: about whom, result
  kSet = kFault + std::size(World::kWords),  ///< + setting: slot, value
  kConfigure = kSet + std::size(kSettings),  ///< + setting: member or 0, value, whether absent
  kSampleTime = kConfigure + std::size(kSettings),
  kKinds
};

History makeHistory(unsigned long long seed);
std::ostream& operator<<(std::ostream& out, History const& history);
std::istream& operator>>(std::istream& in, History& history);

/// Plays `history` in `world`. @return the number of passes.
unsigned long play(History const& history, Subject& subject, World& world);
