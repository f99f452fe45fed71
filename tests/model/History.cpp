#include "tests/model/History.h"

#include <climits>
#include <istream>
#include <ostream>
#include <random>

namespace {

using Values = decltype(Step::values);
using Pool = std::vector<long long>;

constexpr long long kAbsent = LLONG_MIN;
const Pool kSwitch = {0, 1}, kMostlyOn = {0, 1, 1}, kSlots = {0, 1, 2, 3},
           kOrNone = {0, 1, 2, 3, 4}, kNames = {1, 1, 1, 1, 2, 3, 4},
           kAnyName = {0, 1, 1, 1, 2, 3, 4}, kWords = {0, 1, 4, 9},
           kPids = {7, 10, 11, 12, 300, 2147483649, UINT_MAX}, kParents = {1, 1, 1, 7, 10, 11, 300},
           kLoads = {0, 1, 2, 3, 4, 5, 6, 7, 8, 50, 100, 255, 256, UINT_MAX, LLONG_MAX, -1},
           kCalls = {0, 1, 2, 3, 4, 4, 5, 6, 7, 8, 9, 9},
           kAbout = {0, 0, 1, 2, 3, 4, 5, 6, 7, 10, 11},
           kResults = {-1, -3, World::kNotFound, World::kTimedOut, 7, World::kGivesNone},
           kMembers = {1, 1, 2, 3, 4}, kGlobal = {2, 4, 6, kSampleTime},
           kOne = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},  // setting
    kNumberKey = {kAbsent, -1, 0, 1, 1, 2, 2, 3, 5, 100, 101, 356, INT_MIN, INT_MAX},
           kNameKey = {kAbsent, 0, 1, 1, 2, 3, 4}, kSwitchKey = {kAbsent, 0, 1, 1, 1},
           kActionKey = {kAbsent, 5, 6, 7, 8, 9}, kWordKey = {kAbsent, 0, 1, 4, 9},
           kPeriods = {0, 1, 1, 2, 2, 2, 3, 4294968, 4294969, 2147483648, UINT_MAX},
           kCpus = {0, 1, 2, 3, 4, 5, 6, 50, 100, 200, 255},
           kCounts = {0, 1, 1, 2, 2, 3, 4, 2147483648, UINT_MAX},
           kLeast = {-1, 0, 1, 1, 2, 2, 3, 4, INT_MIN, INT_MAX},
           kActions = {0, 1, 1, 2, 2, 3, 4, UINT_MAX},
           kMoves = {1000, 1000, 1000, 1000, 2000, 2000, 500, 999, 1001, 704, 3000, 0, -1000},
           kClocks = {0, 1, 1000, LLONG_MIN, LLONG_MAX - 1500},
           kDrifts = {0, 0, 1, 300, 1000, -400}, kWaits = {0, World::kTimedOut, World::kTimedOut};
/// What is tried of each setting, by a client and in the configuration.
const Pool* const kTried[] = {&kAnyName,  &kPeriods, &kMostlyOn, &kCpus,  &kMostlyOn, &kLoads,
                              &kMostlyOn, &kCounts,  &kSwitch,   &kLeast, &kSwitch,   &kSwitch,
                              &kMostlyOn, &kActions, &kWords,    &kWords, &kWords};
const Pool* const kKeys[] = {&kNameKey,   &kNumberKey, &kSwitchKey, &kNumberKey, &kSwitchKey,
                             &kNumberKey, &kSwitchKey, &kNumberKey, &kSwitchKey, &kNumberKey,
                             &kSwitchKey, &kSwitchKey, &kSwitchKey, &kActionKey, &kWordKey,
                             &kWordKey,   &kWordKey,   &kNumberKey};

struct Player {
  Subject& s;
  World& w;
  History::const_iterator next, end;
  unsigned long passes = 0;
  bool isStarted = false;

  void play();
  void move(long long ms) { __builtin_add_overflow(w.clock, ms, &w.clock); }
  /// What happens while the worker waits. A worker that is in the way of the next start, or
  /// of the end, has its wait fail, and so ends.
  int untilTick();
  void restart() {
    s.stop();
    w.say("start %", isStarted = s.start() == 0);
  }
  void put(Values const& v) {
    const auto found = w.process(v[0]);
    const World::Process process = {static_cast<unsigned int>(v[0]),
                                    static_cast<unsigned int>(v[2]),
                                    static_cast<unsigned int>(v[3]),
                                    static_cast<unsigned long long>(v[4]),
                                    v[5] != 0,
                                    v[1]};
    found != w.processes.end() ? void(*found = process) : w.processes.push_back(process);
  }
  void remove(long long pid) {
    if (w.process(pid) != w.processes.end()) w.processes.erase(w.process(pid));
  }
  void configure(long long member, long long setting, long long value) {
    const std::string number = member > 0 ? "." + std::to_string(member) : "";
    const std::string key = "watchdog.process" + number + kSettings[setting];
    w.config[key] = static_cast<int>(value);
    if (value == kAbsent) w.config.erase(key);
  }
  /// The result of a client's call.
  template <class Call>
  void ask(const char* what, Call call) {
    if (isStarted) w.say("% %", what, call());
  }
};

/// All that happens: how often, with which values, and what it is.
const struct Kind {
  const char* word;
  unsigned int weight;
  std::vector<Pool const*> pools;  ///< null for that of the setting before
  void (*happen)(Player&, Values const&);
} kKinds[] = {
    {"tick", 400, {&kWaits, &kMoves}, [](auto& p, auto&) { p.s.work(); }},
    {"start", 4, {}, [](auto& p, auto&) { p.restart(); }},
    {"clock", 4, {&kClocks}, [](auto& p, auto& v) { p.w.clock = v[0]; }},
    {"drift", 15, {&kDrifts}, [](auto& p, auto& v) { p.w.drift = v[0]; }},
    {"process",
     180,
     {&kPids, &kNames, &kParents, &kLoads, &kLoads, &kMostlyOn},
     [](auto& p, auto& v) { p.put(v); }},
    {"vanish", 30, {&kPids}, [](auto& p, auto& v) { p.remove(v[0]); }},
    {"child",
     20,
     {&kPids, &kNames},
     [](auto& p, auto& v) {
       p.w.child.pid = static_cast<unsigned int>(v[0]);
       p.w.child.name = v[1];
     }},
    {"spare", 15, {&kSwitch}, [](auto& p, auto& v) { p.w.killSpares = v[0] != 0; }},
    {"fail",
     30,
     {&kCalls, &kAbout, &kResults},
     [](auto& p, auto& v) {
       p.w.faults.insert(p.w.faults.begin(), {v[0], v[1], static_cast<int>(v[2])});
     }},
    {"calm", 30, {}, [](auto& p, auto&) { p.w.faults.clear(); }},
    {"create", 3, {&kSlots}, [](auto& p, auto& v) { p.s.create(v[0]); }},
    {"set", 120, {&kSlots, &kOne, nullptr}, [](auto& p, auto& v) { p.s.set(v[0], v[1], v[2]); }},
    {"add", 40, {&kOrNone}, [](auto& p, auto& v) { p.ask("add", [&] { return p.s.add(v[0]); }); }},
    {"remove",
     15,
     {&kAnyName},
     [](auto& p, auto& v) { p.ask("remove", [&] { return p.s.remove(text(v[0])); }); }},
    {"info",
     15,
     {&kAnyName},
     [](auto& p, auto& v) { p.ask("info", [&] { return p.s.info(text(v[0])); }); }},
    {"config",
     20,
     {&kMembers, &kOne, nullptr},
     [](auto& p, auto& v) { p.configure(v[0], v[1], v[2]); }},
    {"fall", 3, {}, [](auto& p, auto&) { p.s.work(); }},  // the wait fails
    {"global", 10, {&kGlobal, nullptr}, [](auto& p, auto& v) { p.configure(0, v[0], v[1]); }},
};
enum { kTick, kStart, kSet = 11, kAdd, kConfig = 15, kFall };

void Player::play() {
  w.play = [this] { return untilTick(); };
  for (const long long slot : kSlots) s.create(slot);
  while (next != end) {
    Step const& step = *next++;
    kKinds[step.kind].happen(*this, step.values);
  }
  s.stop();
}

int Player::untilTick() {
  ++passes;
  while (next != end && next->kind != kStart) {
    Step const& step = *next++;
    if (step.kind == kFall) return 7;
    if (step.kind == kTick) return move(step.values[1]), static_cast<int>(step.values[0]);
    kKinds[step.kind].happen(*this, step.values);
  }
  return -5;
}

class Maker {
 public:
  explicit Maker(unsigned long long seed) : fRandom(seed) {}

  History make() {
    for (long long members = any(kOrNone); members > 0; --members) {
      for (const long long setting : kOne) add(kConfig, {members, setting});
    }
    add(kStart);
    for (const long long slot : kSlots) {
      for (const long long setting : kOne) add(kSet, {slot, setting});
      if (any(kSwitch) != 0) add(kAdd, {slot});
    }
    unsigned int total = 0;
    for (auto const& kind : kKinds) total += kind.weight;
    for (auto steps = 50 + fRandom() % 300; steps > 0; --steps) {
      std::size_t kind = 0;
      for (auto left = fRandom() % total; left >= kKinds[kind].weight; ++kind)
        left -= kKinds[kind].weight;
      add(kind);
    }
    return std::move(fHistory);
  }

 private:
  long long any(Pool const& pool) {
    return pool[static_cast<std::size_t>(fRandom() % pool.size())];
  }
  void add(std::size_t kind, std::vector<long long> const& given = {}) {
    Step step = {kind, {}};
    for (std::size_t at = 0; at < kKinds[kind].pools.size(); ++at) {
      Pool const* pool = kKinds[kind].pools[at];
      if (!pool) pool = (kind == kSet ? kTried : kKeys)[step.values[at - 1]];
      step.values[at] = at < given.size() ? given[at] : any(*pool);
    }
    fHistory.push_back(step);
  }

  std::mt19937_64 fRandom;
  History fHistory;
};

}  // namespace

History makeHistory(unsigned long long seed) { return Maker(seed).make(); }

std::ostream& operator<<(std::ostream& out, History const& history) {
  for (auto const& [kind, values] : history) {
    out << kKinds[kind].word;
    for (std::size_t at = 0; at < kKinds[kind].pools.size(); ++at) out << ' ' << values[at];
    out << '\n';
  }
  return out;
}

std::istream& operator>>(std::istream& in, History& history) {
  for (std::string word; in >> word;) {
    Step step;
    while (word != kKinds[step.kind].word) {
      if (++step.kind == std::size(kKinds)) throw std::invalid_argument("no such step: " + word);
    }
    for (std::size_t at = 0; at < kKinds[step.kind].pools.size(); ++at) in >> step.values[at];
    history.push_back(step);
  }
  return in;
}

unsigned long play(History const& history, Subject& subject, World& world) {
  Player player = {subject, world, history.begin(), history.end()};
  player.play();
  return player.passes;
}
