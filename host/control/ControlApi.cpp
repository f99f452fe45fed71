#include "host/control/ControlApi.h"

#include <algorithm>
#include <utility>

#include "host/control/Routes.h"

namespace {

/// When the host started, by the clock that nobody sets.
std::chrono::steady_clock::time_point hostStart(WallTime startedAt) {
  const auto age = std::chrono::system_clock::now() - startedAt;
  return std::chrono::steady_clock::now() - std::max(age, decltype(age)::zero());
}

}  // namespace

ControlApi::ControlApi(ControlSources sources)
    : fSources(std::move(sources)),
      fProcesses(fSources.procRoot),
      fHostStart(hostStart(fSources.facts.startedAt)),
      fMetrics(fSources.metrics, fSources.now) {}

int ControlApi::match(std::string const& name, std::optional<unsigned int> asker,
                      NameMatches& matches) const {
  const std::lock_guard lock(fMatching);
  return matchName(fProcesses, name, asker, matches);
}

std::chrono::milliseconds ControlApi::uptime() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               fHostStart);
}

HttpAnswer ControlApi::answer(HttpRequest const& request) const {
  return answerBy(controlRoutes(), *this, request);
}

HttpAnswer ControlApi::answerMetricsOnly(HttpRequest const& request) const {
  return answerBy(metricsRoutes(), *this, request);
}
