#pragma once

#include <optional>
#include <string>

#include "bench/whole/Cost.h"
#include "bench/whole/Statistics.h"

/// The host's ticks, in one variant.
struct TickCosts {
  Cost few;     ///< 20 entries with 10 instances each
  Cost all;     ///< 200 entries with 10 instances each
  Cost spread;  ///< 200 entries with 1 instance each: the processes of `few`
};

struct MonitCosts {
  std::string version;
  Cost few;
  Cost all;
};

/// Everything that was measured.
struct Results {
  TickCosts asItComes;
  std::optional<TickCosts> scanOnly;
  std::optional<MonitCosts> monit;
  Series restarts;  ///< milliseconds from an end to the next start
};

/// Prints a table of everything and, last, the figures that matter as lines
/// "key: value", to standard output.
void report(Results const& results);
