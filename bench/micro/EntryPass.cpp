// What one tick asks of the process utilities: for every entry a search, and for
// every process found the three readings.

#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench/micro/SteppedUtilities.h"
#include "bench/micro/Tables.h"

namespace {

/// @return the number of processes that it found and read.
std::size_t passOverEntry(SteppedUtilities& utilities, std::string const& name) {
  std::vector<unsigned int> pids;
  std::vector<unsigned int> parentPids;
  utilities->find(name, pids, parentPids);
  for (const unsigned int pid : pids) {
    bool running = false;
    unsigned int percent = 0;
    unsigned long long kib = 0;
    utilities->isRunning(pid, running);
    utilities->getCPUUsage(pid, percent);
    utilities->getMemoryUsage(pid, kib);
    benchmark::DoNotOptimize(kib);
  }
  return pids.size();
}

/// @param expected processes that bear one of the names.
void measure(benchmark::State& state, Table const& table, unsigned int entries,
             std::size_t expected) {
  SteppedUtilities utilities(table.root);
  std::vector<std::string> names;
  for (unsigned int entry = 0; entry < entries; ++entry) names.push_back(entryName(entry));
  while (state.KeepRunning()) {
    utilities.nextSample();
    std::size_t found = 0;
    for (std::string const& name : names) found += passOverEntry(utilities, name);
    if (found != expected) {
      state.SkipWithError("not what is there");
      return;
    }
  }
  state.counters["processes"] = table.processes;
  state.counters["s_per_process"] = benchmark::Counter(
      table.processes, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.SetComplexityN(table.processes);
}

template <unsigned int entries>
void onMadeTable(benchmark::State& state) {
  constexpr std::size_t kInstances = 10;
  constexpr std::size_t kNamesThere = 10;
  measure(state, madeTable(static_cast<unsigned int>(state.range(0))), entries,
          kInstances * std::min<std::size_t>(entries, kNamesThere));
}

template <unsigned int entries>
void onRealTable(benchmark::State& state) {
  measure(state, realTable(), entries, 10);
}

// One entry with 10 instances, and 200 entries of which 10 have as many: where
// every process is looked at once per tick, the two grow alike.
BENCHMARK(onMadeTable<1>)
    ->Name("pass/1_entry/made")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10'000)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);
BENCHMARK(onMadeTable<200>)
    ->Name("pass/200_entries/made")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10'000)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);
BENCHMARK(onRealTable<1>)->Name("pass/1_entry/proc")->Unit(benchmark::kMicrosecond);
BENCHMARK(onRealTable<200>)->Name("pass/200_entries/proc")->Unit(benchmark::kMicrosecond);

}  // namespace
