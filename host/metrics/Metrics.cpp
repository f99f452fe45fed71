#include "host/metrics/Metrics.h"

#include <utility>

#include "host/metrics/EntryMetrics.h"
#include "host/metrics/Exposition.h"
#include "host/metrics/HostMetrics.h"

Metrics::Metrics(MetricsSources sources) : fSources(std::move(sources)) {}

std::string Metrics::text() const {
  const HostMoment moment{fSources.facts,   fSources.watch(),    fSources.restarts(),
                          fSources.usage(), fSources.wallTime(), fSources.journal->next() - 1};
  Exposition exposition;
  addCounters(exposition, fSources.counters());
  addHost(exposition, moment);
  addEntries(exposition, moment.watch);
  return std::move(exposition).text();
}

std::function<std::string()> makeMetrics(ControlSources const& sources) {
  const Metrics metrics(
      {sources.facts, sources.watch, sources.journal, sources.counters, sources.restarts});
  return [metrics] { return metrics.text(); };
}
