#pragma once

/// The watchdog's keys in the configuration store: the global ones whole, those
/// of a list member as the suffix that follows the prefix and the member's index.
namespace Keys {

inline constexpr wchar_t configurationId[] = L"veskp.watchdog.process";

inline constexpr wchar_t globalCpuEnabled[] = L"watchdog.process.cpu_enabled";
inline constexpr wchar_t globalMemEnabled[] = L"watchdog.process.mem_enabled";
inline constexpr wchar_t globalInstEnabled[] = L"watchdog.process.inst_enabled";
inline constexpr wchar_t globalSampleTime[] = L"watchdog.process.sample_time";

inline constexpr wchar_t memberPrefix[] = L"watchdog.process.";
inline constexpr wchar_t name[] = L".name";
inline constexpr wchar_t period[] = L".period";
inline constexpr wchar_t cpuEnabled[] = L".cpu_enabled";
inline constexpr wchar_t cpuLimit[] = L".cpu_limit";
inline constexpr wchar_t memEnabled[] = L".mem_enabled";
inline constexpr wchar_t memLimit[] = L".mem_limit";
inline constexpr wchar_t instEnabled[] = L".inst_enabled";
inline constexpr wchar_t instLimit[] = L".inst_limit";
inline constexpr wchar_t respawnEnabled[] = L".respawn_enabled";
inline constexpr wchar_t respawnLimit[] = L".respawn_limit";
inline constexpr wchar_t countOnlyDiffParents[] = L".count_only_diff_parents";
inline constexpr wchar_t countOnlyRunning[] = L".count_only_running";
inline constexpr wchar_t sendEvent[] = L".send_event";
inline constexpr wchar_t action[] = L".action";
inline constexpr wchar_t executable[] = L".executable";
inline constexpr wchar_t arguments[] = L".arguments";
inline constexpr wchar_t workingDir[] = L".working_dir";

}  // namespace Keys
