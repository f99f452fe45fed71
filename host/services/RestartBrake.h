#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// How often the operating system may be restarted.
struct RestartLimits {
  std::chrono::seconds minUptime{300};  ///< none sooner after the boot of the machine
  unsigned int limit = 3;               ///< so many in any window; 0: none at all
  std::chrono::seconds window{86400};
};

/// A moment, and the boot that it belongs to.
struct RestartMoment {
  std::chrono::sys_seconds time;  ///< wall clock, which may be wrong or be set
  std::chrono::seconds uptime{};  ///< since the boot of the machine; nobody sets that
  std::string bootId;             ///< differs from boot to boot
};

/// A restart that was made, or at least begun.
struct PastRestart {
  RestartMoment at;
  std::string cause;  ///< who asked for it, and why
};

/// Why a request is turned down; each is logged on its own.
enum class RestartObstacle { notPermitted, never, tooEarly, tooMany, notRecorded };
inline constexpr unsigned int kRestartObstacles = 5;

struct RestartRefusal {
  RestartObstacle obstacle;
  int code;            ///< a negated errno for the caller
  std::string reason;  ///< with its figures, for people
};

/// How long ago a restart was, as far as the clocks can tell. A restart of this
/// boot is measured by the uptime; an earlier one by the wall clock, but it is at
/// least as old as the boot. So a wall clock that was set back makes no restart
/// younger than that: it neither forgets one nor keeps it for ever.
std::chrono::seconds ageOf(PastRestart const& restart, RestartMoment const& now);

/// Whether one more restart is allowed now.
/// @param past in any order; what is older than the window does not count.
/// @param isRecorded whether the next boot will know of it, and this one knows of
///        the past. If not, the machine must have been up for its share of the
///        window, so that even forgotten restarts keep to the limit.
/// @return nothing if it is, or what stands in the way.
std::optional<RestartRefusal> refuseRestart(RestartLimits const& limits,
                                            std::vector<PastRestart> const& past,
                                            RestartMoment const& now, bool isRecorded);
