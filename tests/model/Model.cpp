// The rules of the watchdog once more, as short as they can be said.

#include <climits>
#include <utility>
#include <variant>

#include "tests/model/World.h"

namespace {

using std::string;
using Pids = std::vector<unsigned int>;

struct Entry {
  string name, executable, arguments, workingDir;
  unsigned int period = 5, instLimit = 0, action = 0;
  unsigned char cpuLimit = 0;
  unsigned long long memLimit = 0;
  int respawnLimit = -1;
  bool cpuEnabled = false, memEnabled = false, instEnabled = false, respawnEnabled = false;
  bool onlyDiffParents = false, onlyRunning = false, sendEvent = true;
};

struct Window {
  unsigned long long cpuSum = 0, memSum = 0;
  unsigned int count = 0;
  long long start = 0;
};

struct Watched {
  std::shared_ptr<Entry> entry;
  std::map<unsigned int, Window> windows = {};  ///< by pid
};

using Field = std::variant<string Entry::*, unsigned int Entry::*, bool Entry::*, int Entry::*,
                           unsigned char Entry::*, unsigned long long Entry::*>;
const Field kFields[] = {&Entry::name,         &Entry::period,          &Entry::cpuEnabled,
                         &Entry::cpuLimit,     &Entry::memEnabled,      &Entry::memLimit,
                         &Entry::instEnabled,  &Entry::instLimit,       &Entry::respawnEnabled,
                         &Entry::respawnLimit, &Entry::onlyDiffParents, &Entry::onlyRunning,
                         &Entry::sendEvent,    &Entry::action,          &Entry::executable,
                         &Entry::arguments,    &Entry::workingDir};
const char* const kActions[] = {"none", "terminate", "restart", "osrestart"};

/// What a configured number has to be, and what is said if it is not.
const struct {
  int setting, least, most;
  const char* otherwise;
} kRanges[] = {{kPeriod, 1, INT_MAX, "setting to 1"},
               {kCpuLimit, 0, 100, "disabling CPU monitoring"},
               {kMemLimit, 0, INT_MAX, "disabling memory monitoring"},
               {kInstLimit, 0, INT_MAX, "disabling instance monitoring"},
               {kRespawnLimit, 1, INT_MAX, "disabling process respawn monitoring"}};

void assign(Entry& entry, long long setting, long long value) {
  const auto store = [&](auto field) {
    if constexpr (std::is_same_v<decltype(field), string Entry::*>) {
      entry.*field = text(value);
    } else {
      entry.*field = static_cast<std::decay_t<decltype(entry.*field)>>(value);
    }
  };
  std::visit(store, kFields[setting]);
}

class Model : public Subject {
 public:
  explicit Model(World& world) : w(world) {}

  // What clients call.

  void create(long long slot) override { fSlots[slot] = std::make_shared<Entry>(); }
  void set(long long slot, long long setting, long long value) override {
    assign(*fSlots[slot], setting, value);
  }
  int add(long long slot) override {
    if (slot == kSlots) return say(-502, "error [addProcessEntry] `iEntry' is NULL");
    string const& name = fSlots[slot]->name;
    if (name.empty()) return say(-502, "error [addProcessEntry] Given entry has no name");
    if (contains(name)) {
      return say(-509, "error [addProcessEntry] Entry with name `%' already in list", name);
    }
    say(0, "debug [addProcessEntry] Entry with name `%' is good to add", name);
    s.registry[name].entry = fSlots[slot];
    return say(0, "info [addProcessEntry] Adding `%' to list of monitored processes", name);
  }
  int remove(string const& name) override {
    if (name.empty()) return say(-502, "error [removeProcessEntry] Invalid argument (empty name)");
    if (s.registry.erase(name) == 0) {
      return say(0, "debug [removeProcessEntry] There's no entry named `%', ignoring", name);
    }
    return say(0, "info [removeProcessEntry] Removing `%' from list of monitored processes", name);
  }
  int info(string const& name) override {
    if (name.empty()) return say(-502, "error [getProcessInfo] Invalid argument (empty name)");
    if (!contains(name)) {
      return say(-509, "debug [getProcessInfo] Error: there's no entry named `%', ignoring", name);
    }
    w.say("action %", s.registry[name].entry->action);
    return 0;
  }

  // Start and end.

  int start() override {
    s = {};
    s.logger = w.call(World::lookup, World::logger, "logger") == 0;
    if (s.logger) w.say("init veskp.watchdog.process.log");
    return init();
  }
  int init() {
    if (const int res = load()) {
      return say(res, "error [init] Error loading ProcessWatchdog configuration, res=%", res);
    }
    if (s.logger) dump();
    int res = w.call(World::lookup, World::dispatcher, "eventdispatcher");
    s.dispatcher = res == 0;
    if (res != 0 && res != World::kGivesNone) {
      return say(res, "error [init] Error obtaining instance of IEventDispatcher, res=%", res);
    }
    res = w.call(World::lookup, World::counters, "extcounters");
    s.counters = res == 0;
    if (res != 0 && res != World::kGivesNone) {
      say(res, "error [init] Error obtaining instance of IExtCounters, res=%", res);
    }
    if (!s.cpu && !s.mem && !s.inst) {
      return say(0, "info [init] All monitoring disabled, not starting the thread");
    }
    s.running = s.toRun = true;
    return say(0, "debug [init] Started watchdog thread (id=17)");
  }
  void work() override {
    if (!std::exchange(s.toRun, false)) return;
    w.say("setName [PProcessWatchdog]");
    say(0, "debug [_watchdogThreadProc] Starting process watchdog loop (current thread id = 34)");
    while (s.running) {
      pass();
      w.say("wait %", static_cast<unsigned int>(s.sampleTime) * 1000);
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
      work();
      say(0, "debug [__stopWatchdog] Detaching fWatchdogThread thread...");
      say(0, "debug [__stopWatchdog] Finished waiting for the watchdog thread");
    }
    s = {};
  }

 private:
  bool contains(string const& name) const { return s.registry.count(name) != 0; }

  struct Service {
    bool logger = false, dispatcher = false, counters = false, running = false, toRun = false;
    bool cpu = true, mem = true, inst = true;
    int sampleTime = 2;
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
    const string prefix = "watchdog.process";
    for (const char* key : {".cpu_enabled", ".mem_enabled", ".inst_enabled", ".sample_time"}) {
      const auto value = w.configured(key[1] == 's' ? "getInt" : "getBool", prefix + key);
      if (!value) {
        fail(World::kNotFound, "error [__loadGlobalConfig] Error reading value for key `%%', res=%",
             prefix, key);
        return fail(World::kNotFound,
                    "error [_loadConfig] Error reading global configuration "
                    "for ProcessWatchdog, res=%");
      }
      if (key[1] != 's') {
        (key[1] == 'c' ? s.cpu : key[1] == 'm' ? s.mem : s.inst) = *value != 0;
      } else if (*value > 0) {
        s.sampleTime = static_cast<int>(*value);
      } else {
        say(0, "error [__loadGlobalConfig] Invalid value % for key `%%', ignoring", *value, prefix,
            key);
      }
    }
    for (int number = 1;; ++number) {
      const auto entry = std::make_shared<Entry>();
      if (!loadMember(prefix + "." + std::to_string(number), *entry)) return 0;
      s.registry.insert({entry->name, {entry}});
    }
  }
  bool loadMember(string const& prefix, Entry& entry) {
    for (int setting = kName; setting < kSampleTime; ++setting) {
      const string key = prefix + kSettings[setting];
      const auto field = kFields[setting].index();
      const bool isText = field == 0 || setting == kAction;
      const char* const read = isText ? "getString" : field == 2 ? "getBool" : "getInt";
      const auto value = w.configured(read, key);
      if (!value && setting == kName) return false;
      if (!value) continue;
      auto const* const range = std::find_if(std::begin(kRanges), std::end(kRanges),
                                             [&](auto& each) { return each.setting == setting; });
      if (setting == kAction) {
        entry.action = toAction(text(*value));
      } else if (range == std::end(kRanges) || (*value >= range->least && *value <= range->most)) {
        assign(entry, setting, *value);
      } else {
        const bool quiet = setting == kRespawnLimit;
        const string level = quiet ? "debug" : "error", what = quiet ? "value" : "Invalid value";
        say(0, "% [__loadProcessEntryConfig] % `%' for key `%', %", level, what, *value, key,
            range->otherwise);
        assign(entry, setting == kPeriod ? kPeriod : setting - 1, setting == kPeriod);
      }
    }
    return true;
  }
  void dump() {
    w.say("debug [_dumpConfig] ProcessWatchdog configuration: ");
    w.say("debug \twatchdog.process.cpu_enabled = %", s.cpu);
    w.say("debug \twatchdog.process.mem_enabled = %", s.mem);
    w.say("debug \twatchdog.process.inst_enabled = %", s.inst);
    w.say("debug \twatchdog.process.sample_time = %", s.sampleTime);
    int number = 0;
    for (auto const& [key, watched] : s.registry) {
      ++number;
      for (int setting = kName; setting < kSampleTime; ++setting) {
        if (setting == kAction) continue;
        w.put("debug \twatchdog.process." + std::to_string(number) + kSettings[setting] + " = ");
        std::visit([&](auto field) { w.say("%", *watched.entry.*field); }, kFields[setting]);
      }
    }
  }
  unsigned int toAction(string const& text) {
    const auto found = std::find(std::begin(kActions), std::end(kActions), text);
    if (found != std::end(kActions)) return static_cast<unsigned int>(found - kActions);
    return static_cast<unsigned int>(
        say(0, "error [__stringToAction] Invalid action string `%', defaulting to `none'", text));
  }
  string actionText(unsigned int action) {
    if (action < std::size(kActions)) return kActions[action];
    say(0, "error [__actionToString] Invalid action `%', assuming `none'", action);
    return "none";
  }

  // A pass.

  void pass() {
    for (auto& [key, watched] : s.registry) {
      Entry const& entry = *watched.entry;
      Pids pids, parents;
      const int res = w.look(entry.name, pids, parents);
      if (res == 0 || (res == World::kNotFound && entry.respawnEnabled)) {
        update(watched, pids, parents);
      } else if (res != World::kNotFound) {
        fail(res, "error [__updateEntries] Error obtaining process IDs for process `%', res=%",
             entry.name);
      }
    }
  }
  void update(Watched& watched, Pids const& pids, Pids const& parents) {
    Entry const& entry = *watched.entry;
    unsigned int instances = 0;
    for (std::size_t at = 0; at < pids.size(); ++at) {
      const unsigned int pid = pids[at];
      const long long now = w.now();
      if (isInstance(entry, pid, parents[at], pids)) ++instances;
      const bool judgesCpu = s.cpu && entry.cpuEnabled, judgesMem = s.mem && entry.memEnabled;
      unsigned int cpu = 0;
      unsigned long long mem = 0;
      fail(judgesCpu ? w.read(World::cpu, pid, &World::Process::cpu, cpu) : 0,
           "error [__getEntryCpuUsageForPid] Error obtaining the CPU usage of process %, res=%",
           pid);
      fail(judgesMem ? w.read(World::mem, pid, &World::Process::mem, mem) : 0,
           "error [__getEntryMemUsageForPid] Error obtaining the memory usage of process %, res=%",
           pid);
      Window& window = watched.windows[pid];
      if (window.start == 0) window.start = w.now();
      window.cpuSum += cpu;
      window.memSum += mem;
      ++window.count;
      const unsigned int length = entry.period * 1000;
      if (World::difference(window.start, now) < length) continue;
      fail(judgesCpu ? judge(entry, pid, true, window.cpuSum / window.count, entry.cpuLimit) : 0,
           "error [__updateEntry] Error taking CPU action for proces `%', pid=%, res=%", entry.name,
           pid);
      fail(judgesMem ? judge(entry, pid, false, window.memSum / window.count, entry.memLimit) : 0,
           "error [__updateEntry] Error taking memory action for proces `%', pid=%, res=%",
           entry.name, pid);
      const bool several = watched.windows.size() > 1;
      ++w.seen.situations[several ? "end of several windows" : "end of one window"];
      if (window.count > 2) ++w.seen.situations["end of a window of several samples"];
      watched.windows.clear();
    }
    fail(judgeInstances(entry, pids, instances),
         "error [__updateEntry] Error taking instance count action for proces `%', res=%",
         entry.name);
  }
  bool isInstance(Entry const& entry, unsigned int pid, unsigned int parent, Pids const& pids) {
    if (!s.inst || !(entry.instEnabled || entry.respawnEnabled)) return false;
    bool running = false;
    if (fail(w.read(World::isRunning, pid, &World::Process::running, running),
             "error [__shouldIncrementInstCount] Error obtaining the state of process %, res=%",
             pid)) {
      return false;
    }
    if (entry.onlyRunning && !running) return false;
    return !entry.onlyDiffParents || std::find(pids.begin(), pids.end(), parent) == pids.end();
  }

  // Decisions.

  int judge(Entry const& entry, unsigned int pid, bool cpu, unsigned long long mean,
            unsigned long long limit) {
    if (mean == limit) ++w.seen.situations["mean at its limit"];
    if (mean + 1 == limit) ++w.seen.situations["mean just below its limit"];
    if (mean < limit) return 0;
    say(0,
        cpu ? "info [__takeCpuAction] CPU too high (average=%, limit=%) for process `%', pid %'"
            : "info [__takeMemAction] Memory too high (average=%, limit=%) for process `%', pid %",
        mean, limit, entry.name, pid);
    send(entry, cpu ? "event.watchdog.process.cpu_high" : "event.watchdog.process.mem_high", pid);
    say(0, "info [__executeAction] Executing action `%' to pid %", actionText(entry.action), pid);
    if (entry.action == 1) {
      say(0, "info [__terminateProcess] Terminating process % for `%'", pid, entry.name);
      return w.end(pid);
    }
    if (entry.action == 2) return restartOne(entry, pid);
    if (entry.action == 3) return restartOs();
    return entry.action == 0 ? 0 : -500;
  }
  int judgeInstances(Entry const& entry, Pids const& pids, unsigned int count) {
    const auto least = static_cast<unsigned int>(entry.respawnLimit);
    if (!s.inst) return 0;
    if (entry.respawnEnabled && count < least) {
      say(0, "debug [__takeInstAction] Respawning [%] current=%, limit=%", entry.name, count,
          least);
      say(0,
          "info [__takeInstAction] Instance count too Low (current=%, limit=%) for process `%', "
          "taking action Respawn",
          count, least, entry.name);
      return launch(entry);
    }
    if (!entry.instEnabled || count < entry.instLimit) return 0;
    if (count == entry.instLimit) ++w.seen.situations["count at its limit"];
    if (count < pids.size()) ++w.seen.situations["too many, not all of them counted"];
    say(0,
        "info [__takeInstAction] Instance count too high (current=%, limit=%) for process `%', "
        "taking action %",
        count, entry.instLimit, entry.name, actionText(entry.action));
    send(entry, "event.watchdog.process.inst_high", count);
    if (s.counters) w.call(World::increment, 0, "wd_proc_count");
    if (entry.action == 3) return restartOs();
    if (entry.action != 1 && entry.action != 2) return 0;
    say(0,
        entry.action == 1 ? "info [__takeInstAction] Killing all processes named `%'"
                          : "info [__takeInstAction] Killing all processes named `%' before "
                            "restarting the process",
        entry.name);
    int res = 0;
    for (const unsigned int pid : pids) {
      if ((res = w.end(pid)) == World::kNotFound) res = 0;
      fail(res, "error [__terminateAllProcesses] Error killing process pid=%, res=%", pid);
    }
    if (entry.action == 1) return res;
    fail(res, "error [__takeInstAction] Error terminating all processes, res=%");
    return launch(entry);
  }

  // Acts.

  void send(Entry const& entry, const char* topic, unsigned int value) {
    if (!entry.sendEvent) {
      say(0, "info [__sendEvent] Not sending event with topic `%', because events are disabled",
          topic);
      return;
    }
    const string event = topic + (" " + std::to_string(static_cast<int>(value))) + " " + entry.name;
    const int res =
        s.dispatcher ? w.call(World::event, 0, event + " " + entry.executable) : World::kNotFound;
    fail(res, "error [__sendEvent] Error sending `%' event for process `%', res=%", topic,
         entry.name);
  }
  int launch(Entry const& entry) {
    unsigned int pid = 0;
    const int res =
        w.launch(entry.executable + "|" + entry.arguments + "|" + entry.workingDir, pid);
    if (res != 0)
      return fail(res, "error [__startProcess] Error restarting `%', res=%", entry.executable);
    return say(0, "info [__startProcess] Successfully restarted `%' '%', new pid=%", entry.name,
               entry.arguments, pid);
  }
  int restartOne(Entry const& entry, unsigned int pid) {
    say(0, "info [__restartProcess] Terminating process % for `%' before restarting", pid,
        entry.name);
    if (const int res = w.end(pid)) {
      return say(res, "error [__restartProcess] Error terminating process % for `%'", pid,
                 entry.name);
    }
    return fail(launch(entry), "error [__restartProcess] Error starting process for `%', res=%",
                entry.name);
  }
  int restartOs() {
    int res = w.call(World::lookup, World::osRestart, "os.restart");
    if (res == World::kGivesNone) res = World::kNotFound;
    if (res != 0)
      return fail(res, "error [__restartOs] Error obtaining instance of IOSRestart, res=%");
    say(0, "info [__restartOs] Restarting OS");
    return fail(w.call(World::restart, 0, 0), "error [__restartOs] Error restaring OS, res=%");
  }

  World& w;
  Service s;
  std::shared_ptr<Entry> fSlots[kSlots];
};

}  // namespace

std::unique_ptr<Subject> makeModel(World& world) { return std::make_unique<Model>(world); }
