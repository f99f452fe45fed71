// Single operations: finding one name among N processes, and the readings of one.

#include <benchmark/benchmark.h>

#include "bench/micro/SteppedUtilities.h"
#include "bench/micro/Tables.h"

namespace {

/// Runs one operation once per sample.
template <class Operation>
void measure(benchmark::State& state, Table const& table, Operation const& operation) {
  SteppedUtilities utilities(table.root);
  while (state.KeepRunning()) {
    utilities.nextSample();
    if (operation(utilities, table) != 0) {
      state.SkipWithError("the operation failed");
      return;
    }
  }
  state.counters["processes"] = table.processes;
  state.SetComplexityN(table.processes);
}

int find(SteppedUtilities& utilities, Table const& /*table*/) {
  static std::vector<unsigned int> pids;
  static std::vector<unsigned int> parentPids;
  return utilities->find(entryName(0), pids, parentPids);
}

int isRunning(SteppedUtilities& utilities, Table const& table) {
  bool running = false;
  return utilities->isRunning(table.watchedPid, running);
}

int getCPUUsage(SteppedUtilities& utilities, Table const& table) {
  unsigned int percent = 0;
  return utilities->getCPUUsage(table.watchedPid, percent);
}

int getMemoryUsage(SteppedUtilities& utilities, Table const& table) {
  unsigned long long kib = 0;
  return utilities->getMemoryUsage(table.watchedPid, kib);
}

template <auto operation>
void onMadeTable(benchmark::State& state) {
  measure(state, madeTable(static_cast<unsigned int>(state.range(0))), operation);
}

template <auto operation>
void onRealTable(benchmark::State& state) {
  measure(state, realTable(), operation);
}

template <auto operation>
void add(std::string const& name) {
  benchmark::RegisterBenchmark((name + "/made").c_str(), onMadeTable<operation>)
      ->Arg(100)
      ->Arg(1000)
      ->Arg(10'000)
      ->Unit(benchmark::kMicrosecond)
      ->Complexity(benchmark::oN);
  benchmark::RegisterBenchmark((name + "/proc").c_str(), onRealTable<operation>)
      ->Unit(benchmark::kMicrosecond);
}

const bool added = [] {
  add<find>("find");
  add<isRunning>("isRunning");
  add<getCPUUsage>("getCPUUsage");
  add<getMemoryUsage>("getMemoryUsage");
  return true;
}();

}  // namespace
