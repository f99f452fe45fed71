// What a scrape costs: the metrics of so many entries, ten instances each, with all
// checks on.

#include <benchmark/benchmark.h>

#include "host/metrics/Metrics.h"

namespace {

EntryView entryOf(std::int64_t index) {
  EntryView entry;
  EntrySettings& settings = entry.settings;
  settings.name = "some-program-" + std::to_string(index);
  settings.cpuEnabled = settings.memEnabled = settings.instEnabled = settings.respawnEnabled = true;
  settings.cpuLimit = 80;
  settings.memLimit = 123'456;
  settings.instLimit = 20;
  settings.respawnLimit = 1;
  entry.isKnown = true;
  entry.lookedAt.emplace();
  for (unsigned int pid = 1000; pid < 1010; ++pid) {
    entry.instances.push_back({pid, 1, true, true, pid % 7, pid * 10ULL, {}});
  }
  return entry;
}

void scrape(benchmark::State& state) {
  WatchView view;
  for (std::int64_t i = 0; i < state.range(0); ++i) view.entries.push_back(entryOf(i));
  const Metrics metrics({{},
                         [&] { return view; },
                         std::make_shared<RecordJournal>(),
                         [] { return std::map<std::string, unsigned long long>(); },
                         [] { return RestartState(); }});
  std::size_t bytes = 0;
  while (state.KeepRunning()) bytes = metrics.text().size();
  state.counters["bytes"] = static_cast<double>(bytes);
}

BENCHMARK(scrape)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
