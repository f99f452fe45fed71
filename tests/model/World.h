#pragma once

#include <algorithm>
#include <array>
#include <climits>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

/// All texts of a history, which names them by number.
inline constexpr const char* kTexts[] = {"",     "web",       "Web",     "we",        "web 2",
                                         "none", "terminate", "restart", "osrestart", "restart "};
inline std::string text(long long number) { return kTexts[number]; }
inline long long numberOf(std::string_view text) {
  return std::find(std::begin(kTexts), std::end(kTexts), text) - kTexts;
}

using Pool = std::vector<long long>;  ///< values to choose from
inline constexpr long long kAbsent = LLONG_MIN;
// clang-format off
inline const Pool kSwitch = {0, 1}, kMostlyOn = {0, 1, 1}, kAnyName = {0, 1, 1, 1, 2, 3, 4},
    kWords = {0, 1, 4, 9},
    kLoads = {0, 1, 2, 3, 4, 5, 6, 7, 8, 50, 100, 255, 256, UINT_MAX, LLONG_MAX, -1},
    kNumberKey = {kAbsent, -1, 0, 1, 1, 2, 2, 3, 5, 100, 101, 356, INT_MIN, INT_MAX},
    kSwitchKey = {kAbsent, 0, 1, 1, 1}, kWordKey = {kAbsent, 0, 1, 4, 9};

/// The settings of an entry in the order of their getters; the last one is of all entries.
enum { kName, kPeriod, kCpuEnabled, kCpuLimit, kMemEnabled, kMemLimit, kInstEnabled, kInstLimit,
       kRespawnEnabled, kRespawnLimit, kOnlyDiffParents, kOnlyRunning, kSendEvent, kAction,
       kExecutable, kArguments, kWorkingDir, kSampleTime };
inline const struct {
  const char *key, *read;  ///< and the operation that reads it
  long long initial;
  Pool tried, configured;  ///< by clients, and in the configuration
  long long least = kAbsent, most = INT_MAX;  ///< configured, or else:
  const char* otherwise = "";
} kSettings[] = {
  {".name", "getString", 0, kAnyName, {kAbsent, 0, 1, 1, 2, 3, 4}},
  {".period", "getInt", 5, {0, 1, 1, 2, 2, 2, 3, 4294968, 4294969, 2147483648, UINT_MAX},
   kNumberKey, 1, INT_MAX, "setting to 1"},
  {".cpu_enabled", "getBool", 0, kMostlyOn, kSwitchKey},
  {".cpu_limit", "getInt", 0, {0, 1, 2, 3, 4, 5, 6, 50, 100, 200, 255}, kNumberKey, 0, 100,
   "disabling CPU monitoring"},
  {".mem_enabled", "getBool", 0, kMostlyOn, kSwitchKey},
  {".mem_limit", "getInt", 0, kLoads, kNumberKey, 0, INT_MAX, "disabling memory monitoring"},
  {".inst_enabled", "getBool", 0, kMostlyOn, kSwitchKey},
  {".inst_limit", "getInt", 0, {0, 1, 1, 2, 2, 3, 4, 2147483648, UINT_MAX}, kNumberKey, 0,
   INT_MAX, "disabling instance monitoring"},
  {".respawn_enabled", "getBool", 0, kSwitch, kSwitchKey},
  {".respawn_limit", "getInt", -1, {-1, 0, 1, 1, 2, 2, 3, 4, INT_MIN, INT_MAX}, kNumberKey, 1,
   INT_MAX, "disabling process respawn monitoring"},
  {".count_only_diff_parents", "getBool", 0, kSwitch, kSwitchKey},
  {".count_only_running", "getBool", 0, kSwitch, kSwitchKey},
  {".send_event", "getBool", 1, kMostlyOn, kSwitchKey},
  {".action", "getString", 0, {0, 1, 1, 2, 2, 3, 4, UINT_MAX}, {kAbsent, 5, 6, 7, 8, 9}},
  {".executable", "getString", 0, kWords, kWordKey},
  {".arguments", "getString", 0, kWords, kWordKey},
  {".working_dir", "getString", 0, kWords, kWordKey},
  {".sample_time", "getInt", 2, {}, kNumberKey}};
// clang-format on

/// How often which message was logged, which call failed and what else was seen.
using Counts = std::unordered_map<std::wstring_view, unsigned long>;

/// What a watchdog lives in: processes, a clock, a configuration, services, and all of it
/// may fail. What the watchdog asks, does and says becomes a line of the journal. The plug-in
/// has one world and the model another; the same history is played in both.
struct World {
  enum Call { find, isRunning, cpu, mem, kill, start, event, increment, restart, lookup };
  static constexpr const wchar_t* kCalls[] = {L"find",    L"isRunning", L"cpu",   L"mem",
                                              L"kill",    L"start",     L"event", L"increment",
                                              L"restart", L"lookup"};
  enum Service { logger = 1, dispatcher, counters, osRestart };
  static constexpr int kNotFound = -504, kTimedOut = -733, kGivesNone = 1000;
  static constexpr std::size_t kMost = 8;  ///< processes that starting makes

  struct Process {
    unsigned int pid, parent = 1;
    long long name = 1;
    unsigned long long readings[3] = {1, 0, 0};  ///< from isRunning on
  };
  struct Fault {
    long long call, about;  ///< a pid, a name's number or a service; 0 for all
    int result;
  };

  explicit World(Counts& counts) : seen(counts) {}

  std::vector<Process> processes;  ///< in the order in which they are found
  std::vector<Fault> faults;
  std::map<std::string, long long> config = {{"watchdog.process.cpu_enabled", 1},
                                             {"watchdog.process.mem_enabled", 1},
                                             {"watchdog.process.inst_enabled", 1},
                                             {"watchdog.process.sample_time", 2}};
  long long clock = 1000, drift = 0;  ///< ms; every reading moves the clock by `drift`
  unsigned int nextPid = 100;         ///< of the next program started
  int held = 1;                       ///< times that the mutex is; the model has none
  std::function<int()> play;          ///< what happens during a wait; its result
  std::string journal;
  Counts& seen;

  /// Writes a line, each % of `format` being replaced by a value.
  template <class... Values>
  void say(std::string_view format, Values const&... values) {
    [[maybe_unused]] const auto sayOne = [&](auto const& value) {
      const std::size_t end = format.find('%');
      journal += format.substr(0, end);
      format.remove_prefix(end + 1);
      put(value);
    };
    (sayOne(values), ...);
    journal.append(format) += '\n';
  }
  template <class Value>
  void put(Value const& value) {
    if constexpr (std::is_integral_v<Value>) {
      journal += std::to_string(value);
    } else {
      journal += value;
    }
  }
  void put(const wchar_t* text) {
    for (; *text != 0; ++text) journal += static_cast<char>(*text);
  }

  /// One call to the outside. @return what it was told to, or `otherwise`.
  template <class Text>
  int call(Call which, long long about, Text const& text, int otherwise = 0) {
    if (held != 1 && which != lookup) say("without the lock:");
    say("% %", kCalls[which], text);
    now();  // what is asked for takes its time
    for (Fault const& fault : faults) {
      if (fault.call != which || (fault.about != 0 && fault.about != about)) continue;
      ++seen[kCalls[which]];
      return fault.result;
    }
    return otherwise;
  }
  auto process(unsigned int pid) {
    return std::find_if(processes.begin(), processes.end(),
                        [pid](auto& each) { return each.pid == pid; });
  }
  int callFor(Call which, unsigned int pid) {
    return call(which, pid, pid, process(pid) != processes.end() ? 0 : kNotFound);
  }
  int look(long long name, std::vector<unsigned int>& pids, std::vector<unsigned int>& parents) {
    for (Process const& each : processes) {
      if (name != each.name) continue;
      pids.push_back(each.pid);
      parents.push_back(each.parent);
    }
    const int res = call(find, name, text(name), pids.empty() ? kNotFound : 0);
    if (res == kNotFound) pids.clear(), parents.clear();
    return res;
  }
  /// A failed reading with an odd result leaves a value all the same.
  int read(Call which, unsigned int pid, unsigned long long& value) {
    const int res = callFor(which, pid);
    const auto found = process(pid);
    if (found != processes.end() && (res == 0 || res % 2 != 0))
      value = found->readings[which - isRunning];
    return res;
  }
  int end(unsigned int pid) {
    const int res = callFor(kill, pid);
    if (res == 0 && process(pid) != processes.end()) processes.erase(process(pid));
    return res;
  }
  int launch(std::string const& command, unsigned int& pid) {
    const int res = call(start, 0, command);
    if (res != 0) return res;
    while (process(nextPid) != processes.end()) ++nextPid;
    if (processes.size() < kMost) processes.push_back({nextPid});
    pid = nextPid++;
    return res;
  }
  /// Null where there is no such key.
  long long const* configured(const char* word, std::string const& key) {
    say("% %", word, key);
    const auto found = config.find(key);
    return found != config.end() ? &found->second : nullptr;
  }
  long long now() { return std::exchange(clock, clock + drift); }
};

/// A watchdog as a history handles it.
struct Subject {
  static constexpr int kSlots = 4;  ///< entries that a client holds; one more stands for none
  virtual ~Subject() = default;
  virtual int start() = 0;  ///< a new one, whose worker waits for `work`
  virtual void stop() = 0;
  virtual void work() = 0;                  ///< runs a worker that has not run yet to its end
  virtual void create(long long slot) = 0;  ///< a new entry in place of the former one
  virtual void set(long long slot, long long setting, long long value) = 0;
  virtual int add(long long slot) = 0;
  virtual int remove(std::string const& name) = 0;
  virtual int info(std::string const& name) = 0;  ///< puts the entry into the journal
};

std::unique_ptr<Subject> makePlugin(World& world);
std::unique_ptr<Subject> makeModel(World& world);
