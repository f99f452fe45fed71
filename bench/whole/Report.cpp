#include "bench/whole/Report.h"

#include <fmt/format.h>
#include <sys/utsname.h>

#include <fstream>
#include <string>
#include <thread>
#include <utility>

namespace {

void row(std::string const& what, Series const& ms) {
  fmt::print("{:<44} {:>9.3f} {:>9.3f} {:>9.3f} {:>9.3f} {:>7}\n", what, ms.median(), ms.mean(),
             ms.least(), ms.most(), ms.count());
}

void rows(std::string const& who, const char* pass, std::string const& what, Cost const& cost) {
  row(fmt::format("{} {}, {}", who, pass, what), cost.cpu);
  if (cost.floor.count() > 0) row("  floor in its pauses", cost.floor);
  row("  wall time from pass to pass", cost.wall);
  row("  from the start to the end of the first pass", cost.startUp);
  if (cost.firstSeconds.count() > 0) row("  in 2 s, the first 20 s long", cost.firstSeconds);
  if (cost.dropped > 0) fmt::print("  passes dropped as uncertain: {}\n", cost.dropped);
}

void rows(std::string const& who, TickCosts const& costs) {
  rows(who, "tick", "20 entries x 10", costs.few);
  rows(who, "tick", "200 entries x 10", costs.all);
  rows(who, "tick", "200 entries x 1", costs.spread);
}

/// The machine, as far as it bears on the figures.
void machine() {
  utsname system{};
  ::uname(&system);
  std::ifstream load("/proc/loadavg");
  std::string averages;
  std::getline(load, averages);
  fmt::print("{} {}, {} processors, load (1, 5, 15 minutes; running/all; last pid): {}\n\n",
             system.release, system.machine, std::thread::hardware_concurrency(), averages);
}

void table(Results const& results) {
  fmt::print("{:<44} {:>9} {:>9} {:>9} {:>9} {:>7}\n", "milliseconds, CPU where not said otherwise",
             "median", "mean", "least", "most", "samples");
  rows("veskd", results.asItComes);
  if (results.scanOnly) rows("veskd without events", *results.scanOnly);
  if (results.monit) {
    rows("monit " + results.monit->version, "cycle", "20 checks", results.monit->few);
    rows("monit " + results.monit->version, "cycle", "200 checks", results.monit->all);
    fmt::print(
        "  (A cycle of monit is a burst of work and the pause of 2 s that it takes after it,\n"
        "  however long the burst was. Its first cycle looks through all processes for every\n"
        "  check, the later ones once. So there are two figures: CPU per 2 s of the first 20 s\n"
        "  after its start, and CPU per completed cycle once it has settled.)\n");
  } else {
    fmt::print("monit is not installed: not compared\n");
  }
  row("restart: end of the old to start of the new", results.restarts);
  fmt::print("  the new one never started before the end of the old one: {}\n",
             results.restarts.least() >= 0 ? "true" : "FALSE");
}

void key(std::string const& name, double value) { fmt::print("{}: {:.2f}\n", name, value); }

double ratio(Series const& over, Series const& under) { return over.median() / under.median(); }

void tickKeys(TickCosts const& costs, const char* suffix) {
  key(fmt::format("tick_over_floor_20{}", suffix), ratio(costs.few.cpu, costs.few.floor));
  key(fmt::format("tick_over_floor_200{}", suffix), ratio(costs.all.cpu, costs.all.floor));
  key(fmt::format("tick_200_over_20_same_watched{}", suffix),
      ratio(costs.spread.cpu, costs.few.cpu));
}

}  // namespace

void report(Results const& results) {
  machine();
  table(results);
  fmt::print("\n");
  tickKeys(results.asItComes, "");
  if (results.scanOnly) tickKeys(*results.scanOnly, "_scan");
  if (results.monit) {
    auto const& [few, all] = std::pair(results.asItComes.few.cpu, results.asItComes.all.cpu);
    key("monit_over_tick_20", ratio(results.monit->few.firstSeconds, few));
    key("monit_over_tick_200", ratio(results.monit->all.firstSeconds, all));
    key("monit_settled_over_tick_20", ratio(results.monit->few.cpu, few));
    key("monit_settled_over_tick_200", ratio(results.monit->all.cpu, all));
  }
  fmt::print("rss_kib: {:.0f}\n", results.asItComes.all.residentKib.most());
  if (results.monit) fmt::print("monit_rss_kib: {:.0f}\n", results.monit->all.residentKib.most());
  key("restart_after_end_ms", results.restarts.median());
}
