#pragma once

#include <string>

/// A process table to measure on. Whatever its size, it holds ten names with ten
/// instances each; all else in it bears names that nobody asks for.
struct Table {
  std::string root;
  unsigned int processes = 0;
  unsigned int watchedPid = 0;  ///< one of the instances of entry 0
};

/// A table of ordinary files; made once, removed at the end of the program.
Table const& madeTable(unsigned int processes);

/// The kernel's own, with ten instances of entry 0 and of no other.
Table const& realTable();

/// The name that an entry looks for: the first ten are there.
std::string entryName(unsigned int entry);
