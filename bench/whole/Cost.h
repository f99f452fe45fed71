#pragma once

#include <chrono>
#include <string>

#include "bench/whole/Population.h"
#include "bench/whole/Scratch.h"
#include "bench/whole/Statistics.h"
#include "bench/whole/Veskd.h"

/// What the passes of one kind cost, milliseconds of processor time each.
struct Cost {
  Series cpu;
  Series wall;          ///< from the end of one pass to the end of the next
  Series floor;         ///< of the floor loop, in the pauses between those passes
  Series startUp;       ///< from the start of the process to the end of its first pass
  Series firstSeconds;  ///< of monit: in every 2 s of the first twenty
  Series residentKib;
  unsigned int dropped = 0;  ///< where it was not certain that it was one pass
};

/// How long to look at one configuration once it is warm: for so many passes, or
/// until the first that ends after the time; for one at least.
struct Patience {
  unsigned int passes;
  std::chrono::seconds time;
};

/// Runs the host on what is to be watched, and the floor loop in its pauses; adds
/// what they cost. The passes of the first second are thrown away.
void measureTick(Scratch const& scratch, Watched const& watched, Variant variant, Patience patience,
                 Cost& cost);

/// The same with monit, without the floor: first what it uses in the time of a cycle
/// after it was started, then, of another run, what a whole cycle costs.
void measureMonit(Scratch const& scratch, std::string const& program, Watched const& watched,
                  Patience patience, Cost& cost);
