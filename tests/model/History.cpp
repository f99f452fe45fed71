#include "tests/model/History.h"

#include <istream>
#include <ostream>
#include <random>

namespace {

using Values = decltype(Step::values);

const Pool kSlots = {0, 1, 2, 3}, kOrNone = {0, 1, 2, 3, 4}, kNames = {1, 1, 1, 1, 2, 3, 4},
           kPids = {7, 10, 11, 12, 300, 2147483649, UINT_MAX}, kParents = {1, 1, 1, 7, 10, 11, 300},
           kCalls = {0, 1, 2, 3, 4, 4, 5, 6, 7, 8, 9, 9},
           kAbout = {0, 0, 1, 2, 3, 4, 5, 6, 7, 10, 11},
           kResults = {-1, -3, World::kNotFound, World::kTimedOut, 7, World::kGivesNone},
           kMembers = {1, 1, 2, 3, 4}, kNoMember = {0}, kOftenOn = {0, 1, 1, 1},
           kGlobal = {kCpuEnabled, kMemEnabled, kInstEnabled, kSampleTime},
           kOne = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},  // setting
    kMoves = {1000, 1000, 1000, 1000, 2000, 2000, 500, 999, 1001, 704, 3000, 0, -1000},
           kClocks = {0, 1, 1000}, kDrifts = {0, 0, 1, 300, 1000, -400},
           kWaits = {0, World::kTimedOut, World::kTimedOut};

struct Player {
  Subject& s;
  World& w;
  History::const_iterator next, end;
  unsigned long passes = 0;
  bool isStarted = false;

  void play();
  /// What happens while the worker waits. A worker that is in the way of the next start, or
  /// of the end, has its wait fail, and so ends.
  int untilTick();
  void restart() {
    s.stop();
    w.say("start %", isStarted = s.start() == 0);
  }
  void vanish(long long pid) {
    std::erase_if(w.processes, [pid](auto& each) { return each.pid == pid; });
  }
  void appear(Values const& v) {
    vanish(v[0]);
    const auto pid = static_cast<unsigned int>(v[0]), parent = static_cast<unsigned int>(v[2]),
               cpu = static_cast<unsigned int>(v[3]);
    const auto mem = static_cast<unsigned long long>(v[4]);
    w.processes.push_back({pid, parent, v[1], {v[5] != 0, cpu, mem}});
  }
  void configure(Values const& v) {
    const std::string number = v[0] > 0 ? "." + std::to_string(v[0]) : "";
    const std::string key = "watchdog.process" + number + kSettings[v[1]].key;
    w.config[key] = v[2];
    if (v[2] == kAbsent) w.config.erase(key);
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
    // clang-format off
    {"tick", 400, {&kWaits, &kMoves}, [](auto& p, auto&) { p.s.work(); }},
    {"start", 4, {}, [](auto& p, auto&) { p.restart(); }},
    {"fall", 3, {}, [](auto& p, auto&) { p.s.work(); }},  // the wait fails
    {"clock", 4, {&kClocks}, [](auto& p, auto& v) { p.w.clock = v[0]; }},
    {"drift", 15, {&kDrifts}, [](auto& p, auto& v) { p.w.drift = v[0]; }},
    {"process", 180, {&kPids, &kNames, &kParents, &kLoads, &kLoads, &kMostlyOn},
     [](auto& p, auto& v) { p.appear(v); }},
    {"vanish", 30, {&kPids}, [](auto& p, auto& v) { p.vanish(v[0]); }},
    {"fail", 30, {&kCalls, &kAbout, &kResults},
     [](auto& p, auto& v) { p.w.faults.push_back({v[0], v[1], static_cast<int>(v[2])}); }},
    {"calm", 30, {}, [](auto& p, auto&) { p.w.faults.clear(); }},
    {"create", 3, {&kSlots}, [](auto& p, auto& v) { p.s.create(v[0]); }},
    {"set", 120, {&kSlots, &kOne, nullptr}, [](auto& p, auto& v) { p.s.set(v[0], v[1], v[2]); }},
    {"add", 40, {&kOrNone}, [](auto& p, auto& v) { p.ask("add", [&] { return p.s.add(v[0]); }); }},
    {"remove", 15, {&kAnyName},
     [](auto& p, auto& v) { p.ask("remove", [&] { return p.s.remove(text(v[0])); }); }},
    {"info", 15, {&kAnyName},
     [](auto& p, auto& v) { p.ask("info", [&] { return p.s.info(text(v[0])); }); }},
    {"config", 20, {&kMembers, &kOne, nullptr}, [](auto& p, auto& v) { p.configure(v); }},
    {"global", 10, {&kNoMember, &kGlobal, nullptr}, [](auto& p, auto& v) { p.configure(v); }},
    // clang-format on
};
enum { kTick, kStart, kFall, kSet = 10, kAdd, kConfig = 14, kGlobalConfig };

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
    auto const& [kind, values] = *next++;
    if (kind == kFall) return 7;
    if (kind != kTick) {
      kKinds[kind].happen(*this, values);
      continue;
    }
    w.clock += values[1];
    return static_cast<int>(values[0]);
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
    for (const long long setting : {kCpuEnabled, kMemEnabled, kInstEnabled})
      add(kGlobalConfig, {0, setting, any(kOftenOn)});
    add(kStart);
    for (const long long slot : kSlots) {
      for (const long long setting : kOne) add(kSet, {slot, setting});
      if (any(kSwitch) != 0) add(kAdd, {slot});
    }
    std::vector<std::size_t> kinds;
    for (std::size_t kind = 0; kind < std::size(kKinds); ++kind)
      kinds.insert(kinds.end(), kKinds[kind].weight, kind);
    for (auto steps = 50 + fRandom() % 300; steps > 0; --steps) add(any(kinds));
    return std::move(fHistory);
  }

 private:
  template <class Value>
  Value any(std::vector<Value> const& pool) {
    return pool[static_cast<std::size_t>(fRandom() % pool.size())];
  }
  void add(std::size_t kind, std::vector<long long> const& given = {}) {
    Step step = {kind, {}};
    for (std::size_t at = 0; at < kKinds[kind].pools.size(); ++at) {
      Pool const* pool = kKinds[kind].pools[at];
      if (!pool) {
        auto const& setting = kSettings[step.values[at - 1]];
        pool = kind == kSet ? &setting.tried : &setting.configured;
      }
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
