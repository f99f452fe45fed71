// The rules of the watchdog once more, as short as they can be said.

#include "tests/model/World.h"

namespace {

using std::string;
using Pids = std::vector<unsigned int>;

/// A value for each setting.
struct Entry {
  Entry() {
    for (std::size_t at = 0; auto const& setting : kSettings) values[at++] = setting.initial;
  }
  long long& operator[](long long setting) { return values[setting]; }
  long long operator[](long long setting) const { return values[setting]; }
  string name() const { return text(values[kName]); }
  long long values[std::size(kSettings)];
};
struct Window {
  unsigned long long sums[2] = {};
  unsigned int count = 0;
  long long start = 0;
};
struct Watched {
  std::shared_ptr<Entry> entry;
  std::map<unsigned int, Window> windows = {};  ///< by pid
};

/// The two readings of a window whose means are judged, and what is said of them.
const struct {
  World::Call reading;
  int enabled, limit;
  const char *unread, *high, *topic, *failed;
} kMeans[] = {
    {World::cpu, kCpuEnabled, kCpuLimit,
     "error [__getEntryCpuUsageForPid] Error obtaining the CPU usage of process %, res=%",
     "info [__takeCpuAction] CPU too high (average=%, limit=%) for process `%', pid %'",
     "event.watchdog.process.cpu_high",
     "error [__updateEntry] Error taking CPU action for proces `%', pid=%, res=%"},
    {World::mem, kMemEnabled, kMemLimit,
     "error [__getEntryMemUsageForPid] Error obtaining the memory usage of process %, res=%",
     "info [__takeMemAction] Memory too high (average=%, limit=%) for process `%', pid %",
     "event.watchdog.process.mem_high",
     "error [__updateEntry] Error taking memory action for proces `%', pid=%, res=%"}};

constexpr int kActionTexts = 5, kActions = 4;
const string kPrefix = "watchdog.process";

class Model : public Subject {
 public:
  explicit Model(World& world) : w(world) {}

  // What clients call.

  void create(long long slot) override { fSlots[slot] = std::make_shared<Entry>(); }
  void set(long long slot, long long setting, long long value) override {
    (*fSlots[slot])[setting] = value;
  }
  int add(long long slot) override {
    if (slot == kSlots) return say(-502, "error [addProcessEntry] `iEntry' is NULL");
    string const name = fSlots[slot]->name();
    if (name.empty()) return say(-502, "error [addProcessEntry] Given entry has no name");
    if (s.registry.contains(name))
      return say(-509, "error [addProcessEntry] Entry with name `%' already in list", name);
    say(0, "debug [addProcessEntry] Entry with name `%' is good to add", name);
    s.registry[name].entry = fSlots[slot];
    return say(0, "info [addProcessEntry] Adding `%' to list of monitored processes", name);
  }
  int remove(string const& name) override {
    if (name.empty()) return say(-502, "error [removeProcessEntry] Invalid argument (empty name)");
    return say(0,
               s.registry.erase(name) == 0
                   ? "debug [removeProcessEntry] There's no entry named `%', ignoring"
                   : "info [removeProcessEntry] Removing `%' from list of monitored processes",
               name);
  }
  int info(string const& name) override {
    const auto found = s.registry.find(name);
    w.say("contains %", found != s.registry.end());
    if (name.empty()) return say(-502, "error [getProcessInfo] Invalid argument (empty name)");
    if (found == s.registry.end())
      return say(-509, "debug [getProcessInfo] Error: there's no entry named `%', ignoring", name);
    auto const& entry = found->second.entry;
    w.say("slot %", std::find(fSlots, std::end(fSlots), entry) - fSlots);
    for (int setting = kName; setting < kSampleTime; ++setting) w.say("%", (*entry)[setting]);
    return 0;
  }

  // Start and end.

  int start() override {
    s = {};
    s.logger = w.call(World::lookup, World::logger, "logger") == 0;
    if (s.logger) w.say("init veskp.watchdog.process.log");
    const int res = init();
    if (res != 0) stop();
    return res;
  }
  int init() {
    s.exists = true;
    w.say("cond init\nmutex init");
    const int loaded = load();
    w.say("release");
    if (loaded != 0)
      return fail(loaded, "error [init] Error loading ProcessWatchdog configuration, res=%");
    if (s.logger) dump();
    int res = w.call(World::lookup, World::dispatcher, "eventdispatcher");
    s.dispatcher = res == 0;
    if (res != 0 && res != World::kGivesNone)
      return fail(res, "error [init] Error obtaining instance of IEventDispatcher, res=%");
    res = w.call(World::lookup, World::counters, "extcounters");
    s.counters = res == 0;
    if (res != World::kGivesNone)
      fail(res, "error [init] Error obtaining instance of IExtCounters, res=%");
    if (s.all[kCpuEnabled] + s.all[kMemEnabled] + s.all[kInstEnabled] == 0)
      return say(0, "info [init] All monitoring disabled, not starting the thread");
    s.running = s.toRun = true;
    w.say("pcreate");
    return say(0, "debug [init] Started watchdog thread (id=0x11)");
  }
  void work() override {
    if (!std::exchange(s.toRun, false)) return;
    w.say("setName [PProcessWatchdog]");
    say(0, "debug [_watchdogThreadProc] Starting process watchdog loop (current thread id = 0x22)");
    while (s.running) {
      for (auto& [key, watched] : s.registry) pass(watched);
      w.say("wait %", static_cast<unsigned int>(s.all[kSampleTime]) * 1000);
      const int res = w.play();
      if (res == 0 || res == World::kTimedOut) continue;
      say(res, "error [_watchdogThreadProc] Failed to wait on conditinal var, res=%", res);
      s.running = false;
    }
    say(0, "debug [_watchdogThreadProc] Thread loop finished");
  }
  void stop() override {
    if (s.running) {
      s.running = false;
      w.say("notifyAll");
      say(0, "debug [__stopWatchdog] Waiting for the watchdog thread to finish");
      w.say("pjoin");
      work();
      say(0, "debug [__stopWatchdog] Detaching fWatchdogThread thread...");
      w.say("pdetach");
      say(0, "debug [__stopWatchdog] Finished waiting for the watchdog thread");
    }
    if (s.counters) w.say("release");
    if (s.dispatcher) w.say("release");
    if (s.exists) w.say("~PConditionalVar\n~PMutex\n~PThread");
    if (s.logger) w.say("release");
    s = {};
  }

 private:
  struct Service {
    bool exists = false, logger = false, dispatcher = false, counters = false;
    bool running = false, toRun = false;
    Entry all;  ///< what is set of all entries
    std::map<string, Watched> registry = {};
  };

  template <class... Values>
  int say(int res, const char* format, Values const&... values) {
    if (s.logger) w.say(format, values...);
    return res;
  }
  /// Says that something failed, if it did.
  template <class... Values>
  int fail(int res, const char* format, Values const&... values) {
    return res == 0 ? 0 : say(res, format, values..., res);
  }

  // The configuration.

  int load() {
    w.say("loadByID\nrelease");
    for (const int setting : {kCpuEnabled, kMemEnabled, kInstEnabled, kSampleTime}) {
      const string key = kPrefix + kSettings[setting].key;
      const auto value = w.configured(kSettings[setting].read, key);
      if (!value) {
        const int res = World::kNotFound;
        fail(res, "error [__loadGlobalConfig] Error reading value for key `%', res=%", key);
        return fail(res,
                    "error [_loadConfig] Error reading global configuration for ProcessWatchdog, "
                    "res=%");
      }
      if (setting != kSampleTime || *value > 0)
        s.all[setting] = *value;
      else
        say(0, "error [__loadGlobalConfig] Invalid value % for key `%', ignoring", *value, key);
    }
    for (int number = 1;; ++number) {
      const auto entry = std::make_shared<Entry>();
      if (!loadMember(kPrefix + "." + std::to_string(number), *entry)) return 0;
      s.registry.insert({entry->name(), {entry}});
    }
  }
  bool loadMember(string const& prefix, Entry& entry) {
    for (int setting = kName; setting < kSampleTime; ++setting) {
      const auto [suffix, read, initial, tried, configured, least, most, otherwise] =
          kSettings[setting];
      const string key = prefix + suffix;
      const auto value = w.configured(read, key);
      if (!value && setting == kName) return false;
      if (!value) continue;
      if (setting == kAction) {
        entry[kAction] = toAction(*value);
      } else if (*value >= least && *value <= most) {
        entry[setting] = *value;
      } else {
        say(0, "% [__loadProcessEntryConfig] % `%' for key `%', %",
            setting == kRespawnLimit ? "debug" : "error",
            setting == kRespawnLimit ? "value" : "Invalid value", *value, key, otherwise);
        entry[setting == kPeriod ? kPeriod : setting - 1] = setting == kPeriod;
      }
    }
    return true;
  }
  void dump() {
    w.say("debug [_dumpConfig] ProcessWatchdog configuration: ");
    for (const int setting : {kCpuEnabled, kMemEnabled, kInstEnabled, kSampleTime})
      dump(kPrefix, s.all, setting);
    int number = 0;
    for (auto const& [key, watched] : s.registry) {
      const string prefix = kPrefix + "." + std::to_string(++number);
      for (int setting = kName; setting < kSampleTime; ++setting)
        if (setting != kAction) dump(prefix, *watched.entry, setting);
    }
  }
  void dump(string const& prefix, Entry const& entry, int setting) {
    string const read = kSettings[setting].read;
    const long long value = entry[setting];
    w.say("debug \t%% = %", prefix, kSettings[setting].key,
          read == "getString" ? text(value)
          : read == "getInt"  ? std::to_string(value)
          : value != 0        ? "true"
                              : "false");
  }
  long long toAction(long long words) {
    if (words >= kActionTexts && words < kActionTexts + kActions) return words - kActionTexts;
    return say(0, "error [__stringToAction] Invalid action string `%', defaulting to `none'",
               text(words));
  }
  string actionText(long long action) {
    if (action < kActions) return text(kActionTexts + action);
    say(0, "error [__actionToString] Invalid action `%', assuming `none'", action);
    return "none";
  }

  // A pass.

  void pass(Watched& watched) {
    Entry const& entry = *watched.entry;
    Pids pids, parents;
    const int res = w.look(entry[kName], pids, parents);
    if (res == World::kNotFound && !entry[kRespawnEnabled]) return;
    if (res != 0 && res != World::kNotFound) {
      fail(res, "error [__updateEntries] Error obtaining process IDs for process `%', res=%",
           entry.name());
      return;
    }
    unsigned int instances = 0;
    for (std::size_t at = 0; at < pids.size(); ++at) {
      const long long now = w.now();
      if (isInstance(entry, pids[at], parents[at], pids)) ++instances;
      sample(watched, pids[at], now);
    }
    fail(judgeInstances(entry, pids, instances),
         "error [__updateEntry] Error taking instance count action for proces `%', res=%",
         entry.name());
  }
  bool isInstance(Entry const& entry, unsigned int pid, unsigned int parent, Pids const& pids) {
    if (!s.all[kInstEnabled] || !(entry[kInstEnabled] || entry[kRespawnEnabled])) return false;
    unsigned long long running = 0;
    const int res = w.read(World::isRunning, pid, running);
    fail(res, "error [__shouldIncrementInstCount] Error obtaining the state of process %, res=%",
         pid);
    if (res != 0 || (entry[kOnlyRunning] && !running)) return false;
    return !entry[kOnlyDiffParents] || std::find(pids.begin(), pids.end(), parent) == pids.end();
  }
  void sample(Watched& watched, unsigned int pid, long long now) {
    Entry const& entry = *watched.entry;
    unsigned long long values[2] = {};
    for (int at = 0; auto const& mean : kMeans) {
      auto& value = values[at++];
      if (s.all[mean.enabled] && entry[mean.enabled])
        fail(w.read(mean.reading, pid, value), mean.unread, pid);
    }
    Window& window = watched.windows[pid];
    if (window.start == 0) window.start = w.now();
    for (int at : {0, 1}) window.sums[at] += values[at];
    ++window.count;
    if (now - window.start < static_cast<unsigned int>(entry[kPeriod] * 1000)) return;
    for (int at = 0; auto const& mean : kMeans) {
      const auto average = window.sums[at++] / window.count;
      const auto limit = static_cast<unsigned long long>(entry[mean.limit]);
      if (!s.all[mean.enabled] || !entry[mean.enabled] || average < limit) continue;
      if (average == limit && window.count > 2) ++w.seen[L"mean of several samples at its limit"];
      say(0, mean.high, average, limit, entry.name(), pid);
      send(entry, mean.topic, pid);
      fail(act(entry, pid), mean.failed, entry.name(), pid);
    }
    if (watched.windows.size() > 1) ++w.seen[L"end of several windows"];
    watched.windows.clear();
  }

  // Decisions and acts.

  int act(Entry const& entry, unsigned int pid) {
    const long long action = entry[kAction];
    const string name = entry.name();
    say(0, "info [__executeAction] Executing action `%' to pid %", actionText(action), pid);
    if (action == 1) {
      say(0, "info [__terminateProcess] Terminating process % for `%'", pid, name);
      return w.end(pid);
    }
    if (action == 3) return restartOs();
    if (action != 2) return action == 0 ? 0 : -500;
    say(0, "info [__restartProcess] Terminating process % for `%' before restarting", pid, name);
    if (const int res = w.end(pid))
      return say(res, "error [__restartProcess] Error terminating process % for `%'", pid, name);
    return fail(launch(entry), "error [__restartProcess] Error starting process for `%', res=%",
                name);
  }
  int judgeInstances(Entry const& entry, Pids const& pids, unsigned int count) {
    if (!s.all[kInstEnabled]) return 0;
    const string name = entry.name();
    const auto least = static_cast<unsigned int>(entry[kRespawnLimit]);
    if (entry[kRespawnEnabled] && count < least) {
      say(0, "debug [__takeInstAction] Respawning [%] current=%, limit=%", name, count, least);
      say(0,
          "info [__takeInstAction] Instance count too Low (current=%, limit=%) for process `%', "
          "taking action Respawn",
          count, least, name);
      return launch(entry);
    }
    if (!entry[kInstEnabled] || count < entry[kInstLimit]) return 0;
    if (count == entry[kInstLimit] && count < pids.size())
      ++w.seen[L"count at its limit, with others that do not count"];
    say(0,
        "info [__takeInstAction] Instance count too high (current=%, limit=%) for process `%', "
        "taking action %",
        count, entry[kInstLimit], name, actionText(entry[kAction]));
    send(entry, "event.watchdog.process.inst_high", count);
    if (s.counters) w.call(World::increment, 0, "wd_proc_count");
    if (entry[kAction] == 3) return restartOs();
    if (entry[kAction] != 1 && entry[kAction] != 2) return 0;
    say(0, "info [__takeInstAction] Killing all processes named `%'%", name,
        entry[kAction] == 1 ? "" : " before restarting the process");
    int res = 0;
    for (const unsigned int pid : pids) {
      if ((res = w.end(pid)) == World::kNotFound) res = 0;
      fail(res, "error [__terminateAllProcesses] Error killing process pid=%, res=%", pid);
    }
    if (entry[kAction] == 1) return res;
    fail(res, "error [__takeInstAction] Error terminating all processes, res=%");
    return launch(entry);
  }
  void send(Entry const& entry, const char* topic, unsigned int value) {
    const string name = entry.name();
    if (!entry[kSendEvent]) {
      say(0, "info [__sendEvent] Not sending event with topic `%', because events are disabled",
          topic);
      return;
    }
    const string event = topic + (" " + std::to_string(static_cast<int>(value))) + " " + name;
    fail(s.dispatcher ? w.call(World::event, 0, event + " " + text(entry[kExecutable]))
                      : World::kNotFound,
         "error [__sendEvent] Error sending `%' event for process `%', res=%", topic, name);
  }
  int launch(Entry const& entry) {
    const string executable = text(entry[kExecutable]), arguments = text(entry[kArguments]);
    unsigned int pid = 0;
    const int res = w.launch(executable + "|" + arguments + "|" + text(entry[kWorkingDir]), pid);
    if (res != 0)
      return fail(res, "error [__startProcess] Error restarting `%', res=%", executable);
    return say(0, "info [__startProcess] Successfully restarted `%' '%', new pid=%", entry.name(),
               arguments, pid);
  }
  int restartOs() {
    int res = w.call(World::lookup, World::osRestart, "os.restart");
    if (res == World::kGivesNone) res = World::kNotFound;
    if (res != 0)
      return fail(res, "error [__restartOs] Error obtaining instance of IOSRestart, res=%");
    say(0, "info [__restartOs] Restarting OS");
    res = fail(w.call(World::restart, 0, 0), "error [__restartOs] Error restaring OS, res=%");
    w.say("release");
    return res;
  }

  World& w;
  Service s;
  std::shared_ptr<Entry> fSlots[kSlots];
};

}  // namespace

std::unique_ptr<Subject> makeModel(World& world) { return std::make_unique<Model>(world); }
