#pragma once

#include <array>
#include <limits>
#include <string_view>

/// The watchdog's keys as its users know them: what each may be, and what holds
/// where it is something else.

inline constexpr const char* kWatchdogConfiguration = "veskp.watchdog.process";
inline constexpr const char* kWatchdogTable = "watchdog.process";

enum class KeyKind { boolean, integer, text };

/// One key, of the watchdog's table or of a program's.
struct WatchdogKey {
  std::string_view name;
  KeyKind kind;
  const char* ifUnread;  ///< what holds when it is not read
  int least = 0;         ///< of an integer; the most is `most`
  int most = std::numeric_limits<int>::max();
  const char* ifOutOfRange = "";  ///< what holds then
};

inline constexpr const char* kNoStart = "the watchdog does not start";

/// Required, all of them.
inline constexpr std::array<WatchdogKey, 4> kGlobalKeys = {{
    {"cpu_enabled", KeyKind::boolean, kNoStart},
    {"mem_enabled", KeyKind::boolean, kNoStart},
    {"inst_enabled", KeyKind::boolean, kNoStart},
    {"sample_time", KeyKind::integer, kNoStart, 1, std::numeric_limits<int>::max(),
     "ignored, 2 holds"},
}};

inline constexpr const char* kFalseHolds = "not read, false holds";
inline constexpr const char* kZeroHolds = "not read, 0 holds";

/// Of each program. The action is a text of a few, which a rule of its own checks.
inline constexpr std::array<WatchdogKey, 18> kProgramKeys = {{
    {"name", KeyKind::text, "this program and all that follow are not watched"},
    {"period", KeyKind::integer, "not read, 5 holds", 1, std::numeric_limits<int>::max(),
     "1 holds"},
    {"cpu_enabled", KeyKind::boolean, kFalseHolds},
    {"cpu_limit", KeyKind::integer, kZeroHolds, 0, 100, "the CPU check of this program is off"},
    {"mem_enabled", KeyKind::boolean, kFalseHolds},
    {"mem_limit", KeyKind::integer, kZeroHolds, 0, std::numeric_limits<int>::max(),
     "the memory check of this program is off"},
    {"inst_enabled", KeyKind::boolean, kFalseHolds},
    {"inst_limit", KeyKind::integer, kZeroHolds, 0, std::numeric_limits<int>::max(),
     "the check for too many instances of this program is off"},
    {"respawn_enabled", KeyKind::boolean, kFalseHolds},
    {"respawn_limit", KeyKind::integer, "not read, as if it were absent", 1,
     std::numeric_limits<int>::max(), "this program is not respawned"},
    {"count_only_diff_parents", KeyKind::boolean, kFalseHolds},
    {"count_only_running", KeyKind::boolean, kFalseHolds},
    {"send_event", KeyKind::boolean, "not read, true holds"},
    {"action", KeyKind::text, "not read, \"none\" holds"},
    {"executable", KeyKind::text, "not read, nothing can be started"},
    {"arguments", KeyKind::text, "not read, the program is started without any"},
    {"working_dir", KeyKind::text, "not read, the host's own holds"},
    {"dry_run", KeyKind::boolean, "not read, true holds"},
}};

inline constexpr std::array<std::string_view, 4> kActions = {"none", "terminate", "restart",
                                                             "osrestart"};
