#include "host/services/RestartBrake.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

using std::chrono::seconds;

namespace {

RestartRefusal refusal(RestartObstacle obstacle, std::string const& why, seconds wait) {
  return {obstacle, -EAGAIN, fmt::format("{}; possible in {} s", why, wait.count())};
}

/// What the window leaves to each restart, rounded up.
seconds shareOf(RestartLimits const& limits) {
  return (limits.window + seconds(limits.limit - 1)) / limits.limit;
}

}  // namespace

seconds ageOf(PastRestart const& restart, RestartMoment const& now) {
  if (restart.at.bootId == now.bootId) return std::max(now.uptime - restart.at.uptime, seconds(0));
  return std::max(now.time - restart.at.time, now.uptime);
}

std::optional<RestartRefusal> refuseRestart(RestartLimits const& limits,
                                            std::vector<PastRestart> const& past,
                                            RestartMoment const& now, bool isRecorded) {
  if (limits.limit == 0)
    return RestartRefusal{RestartObstacle::never, -EPERM, "restart_limit is 0"};
  if (now.uptime < limits.minUptime) {
    return refusal(RestartObstacle::tooEarly,
                   fmt::format("the machine is up for {} s, and restart_min_uptime is {} s",
                               now.uptime.count(), limits.minUptime.count()),
                   limits.minUptime - now.uptime);
  }

  std::vector<seconds> ages;
  for (PastRestart const& restart : past) {
    if (const seconds age = ageOf(restart, now); age < limits.window) ages.push_back(age);
  }
  std::ranges::sort(ages);
  if (ages.size() >= limits.limit) {
    return refusal(RestartObstacle::tooMany,
                   fmt::format("{} within the last {} s (restart_window), and restart_limit is {}",
                               ages.size(), limits.window.count(), limits.limit),
                   limits.window - ages[limits.limit - 1]);
  }

  if (!isRecorded && now.uptime < shareOf(limits)) {
    return refusal(
        RestartObstacle::notRecorded,
        fmt::format("there is no record of restarts, and the machine is up for {} s, less "
                    "than restart_window / restart_limit, {} s",
                    now.uptime.count(), shareOf(limits).count()),
        shareOf(limits) - now.uptime);
  }
  return std::nullopt;
}
