#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What the watchdog is doing, as the host sees it from outside: copies of one
/// moment, which belong to whoever asked for them.

/// A moment for people, by the wall clock.
using WallTime = std::chrono::sys_time<std::chrono::milliseconds>;

/// Who had an entry watched.
enum class EntryOrigin {
  file,     ///< the configuration file
  control,  ///< the control API
  plugin,   ///< another plug-in
};

/// How one program is to be watched. Units are those of the configuration file.
struct EntrySettings {
  std::string name;
  unsigned int period = 5;  ///< seconds
  bool cpuEnabled = false;
  unsigned int cpuLimit = 0;  ///< percent of one core
  bool memEnabled = false;
  std::uint64_t memLimit = 0;  ///< KiB
  bool instEnabled = false;
  unsigned int instLimit = 0;
  bool respawnEnabled = false;
  int respawnLimit = -1;  ///< negative: more than there can ever be
  bool countOnlyDiffParents = false;
  bool countOnlyRunning = false;
  bool sendEvent = true;
  std::string action = "none";  ///< one of the four words of the configuration
  std::string executable;
  std::string arguments;
  std::string workingDir;
  bool dryRun = false;  ///< its own switch, or the host's
  EntryOrigin origin = EntryOrigin::plugin;
};

/// The averaging window of one process, so far.
struct WindowView {
  unsigned int samples = 0;
  std::chrono::milliseconds age{0};  ///< since it opened
  std::uint64_t cpuAverage = 0;      ///< percent; of no meaning without samples
  std::uint64_t memoryAverage = 0;   ///< KiB; likewise
};

/// A process that was found under the name of an entry.
struct InstanceView {
  unsigned int pid = 0;
  unsigned int parentPid = 0;
  bool counts = false;            ///< as an instance, by the rules of the entry
  std::optional<bool> isRunning;  ///< nothing where the watchdog did not ask
  std::optional<unsigned int> cpuPercent;
  std::optional<std::uint64_t> memoryKib;
  WindowView window;
};

/// What was done for an entry since the host started.
struct EntryTotals {
  std::uint64_t events = 0;
  std::uint64_t kills = 0;  ///< processes that were asked to end
  std::uint64_t failedKills = 0;
  std::uint64_t starts = 0;
  std::uint64_t failedStarts = 0;
  std::uint64_t osRestarts = 0;
  std::uint64_t refusedOsRestarts = 0;
  std::uint64_t wouldHaves = 0;  ///< acts of any kind that a dry run held back
};

struct EntryView {
  EntrySettings settings;
  bool isKnown = false;              ///< `settings` holds more than the name
  std::optional<WallTime> lookedAt;  ///< nothing before the first look
  int findResult = 0;                ///< of the last look: 0, -504 for nobody, or why it failed
  std::vector<InstanceView> instances;
  EntryTotals totals;
};

/// The passes over all entries.
struct PassView {
  std::uint64_t count = 0;                ///< begun since the host started
  std::optional<WallTime> begunAt;        ///< the latest
  bool isUnderWay = false;                ///< a call of the watchdog has not returned
  std::chrono::microseconds underWay{0};  ///< for how long the pass takes, if so
  std::chrono::microseconds last{0};      ///< duration of the last one that ended
  std::chrono::microseconds longest{0};
};

/// What the configuration says to the watchdog as a whole.
struct GlobalSettings {
  bool cpuEnabled = true;
  bool memEnabled = true;
  bool instEnabled = true;
  unsigned int sampleTime = 2;  ///< seconds
};

struct WatchView {
  bool dryRun = false;  ///< of the whole host
  GlobalSettings globals;
  PassView pass;
  std::vector<EntryView> entries;  ///< by name
};
