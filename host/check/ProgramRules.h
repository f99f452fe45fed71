#pragma once

#include "host/check/KeyTable.h"

/// What the watchdog is told of all programs, as far as it changes what comes of a
/// program's own keys.
struct GlobalSwitches {
  bool cpu;
  bool mem;
  bool inst;
  int sampleTime;
};

/// Why the action is none; empty where nothing is wrong with it.
std::string actionFault(KeyTable const& program);

/// What does not fit together in the table of one program, or is not there in the
/// file system: asks the real one, and PATH.
void checkProgram(KeyTable& program, GlobalSwitches const& globals);
