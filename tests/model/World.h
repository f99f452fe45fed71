#pragma once

#include <algorithm>
#include <charconv>
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
inline const char* text(long long number) {
  return kTexts[static_cast<unsigned long long>(number) % std::size(kTexts)];
}
/// The settings of an entry as keys, in the order of their getters; one more for all entries.
inline constexpr const char* kSettings[] = {".name",
                                            ".period",
                                            ".cpu_enabled",
                                            ".cpu_limit",
                                            ".mem_enabled",
                                            ".mem_limit",
                                            ".inst_enabled",
                                            ".inst_limit",
                                            ".respawn_enabled",
                                            ".respawn_limit",
                                            ".count_only_diff_parents",
                                            ".count_only_running",
                                            ".send_event",
                                            ".action",
                                            ".executable",
                                            ".arguments",
                                            ".working_dir",
                                            ".sample_time"};
enum {
  kName,
  kPeriod,
  kCpuLimit = 3,
  kMemLimit = 5,
  kInstLimit = 7,
  kRespawnLimit = 9,
  kAction = 13,
  kSampleTime = 17
};

/// How often what happened in all histories.
struct Counts {
  std::map<std::string_view, unsigned long> situations;
  std::unordered_map<const wchar_t*, unsigned long> messages;  ///< by format
};

/// What a watchdog lives in: processes, a clock, a configuration, services, and all of it
/// may fail. What the watchdog asks, does and says becomes a line of the journal. The plug-in
/// has one world and the model another; the same history is played in both.
struct World {
  enum Call { find, isRunning, cpu, mem, kill, start, event, increment, restart, lookup };
  static constexpr const char* kCalls[] = {"find",  "isRunning", "cpu",       "mem",     "kill",
                                           "start", "event",     "increment", "restart", "lookup"};
  enum Service { logger = 3, dispatcher, counters, osRestart };
  static constexpr int kNotFound = -504, kTimedOut = -733, kGivesNone = 1000;
  static constexpr std::size_t kMost = 8;  ///< processes that starting makes

  struct Process {
    unsigned int pid, parent = 1, cpu = 0;
    unsigned long long mem = 0;
    bool running = true;
    long long name = 1;
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
  Process child = {100};              ///< the next program started
  bool killSpares = false;            ///< killing succeeds, and the process stays
  std::function<int()> play;          ///< what happens during a wait; its result
  std::string journal;
  Counts& seen;

  /// Writes a line, each % of `format` being replaced by a value.
  template <class... Values>
  void say(std::string_view format, Values const&... values) {
    [[maybe_unused]] const auto upTo = [&](std::size_t end) {
      journal += format.substr(0, end);
      format.remove_prefix(std::min(end + 1, format.size()));
    };
    ((upTo(format.find('%')), put(values)), ...);
    journal.append(format) += '\n';
  }
  template <class Value>
  void put(Value const& value) {
    if constexpr (std::is_same_v<Value, bool>) {
      journal += value ? "true" : "false";
    } else if constexpr (std::is_integral_v<Value>) {
      char digits[24];
      journal.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
    } else {
      journal += value;
    }
  }

  /// One call to the outside. @return what it was told to, or `otherwise`.
  template <class Text>
  int call(Call which, long long about, Text const& text, int otherwise = 0) {
    say("% %", kCalls[which], text);
    for (Fault const& fault : faults) {
      if (fault.call != which || (fault.about != 0 && fault.about != about)) continue;
      ++seen.situations[kCalls[which]];
      return fault.result;
    }
    return otherwise;
  }
  auto process(long long pid) {
    return std::find_if(processes.begin(), processes.end(),
                        [pid](auto& each) { return each.pid == pid; });
  }
  int callFor(Call which, unsigned int pid) {
    return call(which, pid, pid, process(pid) != processes.end() ? 0 : kNotFound);
  }
  int look(std::string_view name, std::vector<unsigned int>& pids,
           std::vector<unsigned int>& parents) {
    for (Process const& each : processes) {
      if (name != text(each.name)) continue;
      pids.push_back(each.pid);
      parents.push_back(each.parent);
    }
    const auto number = std::find(std::begin(kTexts), std::end(kTexts), name) - kTexts;
    const int res = call(find, number, name, pids.empty() ? kNotFound : 0);
    if (res == kNotFound) pids.clear(), parents.clear();
    return res;
  }
  /// A failed reading with an odd result leaves a value all the same.
  template <class Value>
  int read(Call which, unsigned int pid, Value Process::*field, Value& value) {
    const int res = callFor(which, pid);
    if (process(pid) != processes.end() && (res == 0 || res % 2 != 0)) value = *process(pid).*field;
    return res;
  }
  int end(unsigned int pid) {
    const int res = callFor(kill, pid);
    if (res == 0 && !killSpares && process(pid) != processes.end()) processes.erase(process(pid));
    return res;
  }
  int launch(std::string const& command, unsigned int& pid) {
    const int res = call(start, 0, command);
    if (res != 0) return res;
    while (child.pid == 0 || process(child.pid) != processes.end()) ++child.pid;
    if (processes.size() < kMost) processes.push_back(child);
    pid = child.pid++;
    return res;
  }
  /// Null where there is no such key.
  long long const* configured(const char* word, std::string const& key) {
    say("% %", word, key);
    const auto found = config.find(key);
    return found != config.end() ? &found->second : nullptr;
  }
  long long now() {
    const long long reading = clock;
    __builtin_add_overflow(clock, drift, &clock);
    return reading;
  }
  static long long difference(long long from, long long to) {
    __builtin_sub_overflow(to, from, &to);
    return to;
  }
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
  virtual int info(std::string const& name) = 0;  ///< puts the action into the journal
};

std::unique_ptr<Subject> makePlugin(World& world);
std::unique_ptr<Subject> makeModel(World& world);
