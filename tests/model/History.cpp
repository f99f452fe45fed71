#include "tests/model/History.h"

#include <climits>
#include <istream>
#include <ostream>
#include <random>

namespace {

std::vector<std::string> words() {
  std::vector<std::string> all = {"start",  "tick",   "clock",    "clockAt", "drift",
                                  "appear", "vanish", "cpu",      "mem",     "running",
                                  "parent", "child",  "spare",    "calm",    "create",
                                  "add",    "remove", "contains", "info"};
  for (const char* call : World::kWords) all.push_back(std::string("fail.") + call);
  for (const char* setting : kSettings) all.push_back(std::string("set") + setting);
  for (const char* setting : kSettings) all.push_back(std::string("config") + setting);
  all.emplace_back("config.sample_time");
  return all;
}

std::string keyOf(Step const& step) {
  const std::string member = step.values[0] > 0 ? "." + std::to_string(step.values[0]) : "";
  return "watchdog.process" + member +
         (step.kind == kSampleTime ? ".sample_time" : kSettings[step.kind - kConfigure]);
}

class Player {
 public:
  Player(History const& history, Subject& subject, World& world)
      : fHistory(history), s(subject), w(world) {}

  unsigned long all() {
    w.play = [this] { return untilTick(); };
    for (int slot = 0; slot < kSlots; ++slot) s.create(slot);
    while (fAt < fHistory.size()) {
      Step const& step = fHistory[fAt++];
      step.kind == kTick ? s.work() : apply(step);
    }
    s.stop();
    for (int slot = 0; slot < kSlots; ++slot) s.create(slot);
    return fPasses;
  }

 private:
  /// What happens while the worker waits. A worker that is in the way of the next start, or
  /// of the end, has its wait fail and so ends.
  int untilTick() {
    ++fPasses;
    while (fAt < fHistory.size() && fHistory[fAt].kind != kStart) {
      Step const& step = fHistory[fAt++];
      if (step.kind == kTick) return static_cast<int>(step.values[0]);
      apply(step);
    }
    return -5;
  }

  void apply(Step const& step) {
    const auto [a, b, c] = step.values;
    const int slot = static_cast<int>(a);
    const auto process = w.process(static_cast<unsigned int>(a));
    const bool found = process != w.processes.end();
    const auto number = static_cast<unsigned int>(b);
    if (step.kind >= kConfigure) {
      if (c != 0) w.config.erase(keyOf(step));
      if (c == 0) w.config[keyOf(step)] = b;
    } else if (step.kind >= kSet) {
      s.set(slot, step.kind - kSet, b);
    } else if (step.kind >= kFault) {
      w.faults.insert(w.faults.begin(),
                      {static_cast<World::Call>(step.kind - kFault), a, static_cast<int>(b)});
    } else if (step.kind >= kAdd && fStarted) {
      if (step.kind == kAdd) w.say("add %", s.add(slot));
      if (step.kind == kRemove) w.say("remove %", s.remove(kTexts[a]));
      if (step.kind == kContains) w.say("contains %", s.contains(kTexts[a]));
      if (step.kind == kInfo) w.say("info %", s.info(kTexts[a]));
    }
    switch (step.kind) {
      case kStart:
        s.stop();
        w.say("start %", fStarted = s.start() == 0);
        break;
      case kClock:
        w.clock = World::sum(w.clock, a);
        break;
      case kClockAt:
        w.clock = a;
        break;
      case kDrift:
        w.drift = a;
        break;
      case kAppear:
        if (found) w.processes.erase(process);
        w.processes.push_back(
            {static_cast<unsigned int>(a), static_cast<unsigned int>(c), 0, 0, true, b});
        break;
      case kVanish:
        if (found) w.processes.erase(process);
        break;
      case kCpu:
        if (found) process->cpu = number;
        break;
      case kMem:
        if (found) process->mem = static_cast<unsigned long long>(b);
        break;
      case kRunning:
        if (found) process->running = b != 0;
        break;
      case kParent:
        if (found) process->parent = number;
        break;
      case kChild:
        w.child.pid = static_cast<unsigned int>(a), w.child.name = b;
        break;
      case kSpare:
        w.killSpares = a != 0;
        break;
      case kCalm:
        w.faults.clear();
        break;
      case kCreate:
        s.create(slot);
        break;
    }
  }

  History const& fHistory;
  Subject& s;
  World& w;
  std::size_t fAt = 0;
  unsigned long fPasses = 0;
  bool fStarted = false;
};

class Maker {
 public:
  explicit Maker(unsigned long long seed) : fRandom(seed) {}

  History make() {
    for (int setting = 2; setting <= 6; setting += 2)
      add(kConfigure + setting, 0, oneIn(8) ? 0 : 1);
    add(kSampleTime, 0, 2);
    for (long long member = below(4); member > 0; --member) configure(member);
    add(kStart);
    for (int slot = 0; slot < kSlots; ++slot) {
      if (oneIn(2)) entry(slot), add(kAdd, slot);
    }
    for (int count = 0; count < 4; ++count) appear();
    for (long long ticks = 20 + below(120); ticks > 0; --ticks) {
      for (long long changes = below(5); changes > 0; --changes) change();
      add(kClock, any({1000, 1000, 1000, 1000, 2000, 2000, 500, 999, 1001, 704, 3000, 0, -1000}));
      add(kTick, oneIn(150) ? -1 : any({0, World::kTimedOut, World::kTimedOut}));
    }
    return std::move(fHistory);
  }

 private:
  using Values = std::initializer_list<long long>;

  long long below(unsigned int end) { return static_cast<long long>(fRandom() % end); }
  bool oneIn(unsigned int times) { return below(times) == 0; }
  long long any(Values values) {
    return values.begin()[below(static_cast<unsigned int>(values.size()))];
  }
  void add(long long kind, long long a = 0, long long b = 0, long long c = 0) {
    fHistory.push_back({static_cast<int>(kind), {a, b, c}});
  }
  long long name() { return any({1, 1, 1, 1, 2, 3, 4}); }
  long long pid() { return any({7, 10, 11, 12, 300, 2147483649, UINT_MAX}); }
  long long slot() { return below(kSlots); }
  long long result() {
    return any({-1, -3, World::kNotFound, World::kTimedOut, 7, World::kGivesNone});
  }
  long long load() {
    return any({0, 1, 2, 3, 4, 5, 6, 7, 8, 50, 100, 255, 256, UINT_MAX, LLONG_MAX, -1});
  }

  void appear() {
    const long long one = pid();
    add(kAppear, one, name(), oneIn(2) ? 1 : pid());
    add(kCpu, one, load());
    add(kMem, one, load());
  }
  /// What fits a setting, and what does not.
  long long value(long long setting) {
    switch (setting) {
      case 0:
        return oneIn(12) ? 0 : name();
      case 1:
        return any({0, 1, 1, 2, 2, 2, 3, 4, 4294968, 4294969, 2147483648, UINT_MAX});
      case 3:
        return any({0, 1, 2, 3, 4, 5, 6, 50, 100, 200, 255});
      case 5:
        return load();
      case 7:
        return any({0, 1, 1, 2, 2, 3, 4, 2147483648, UINT_MAX});
      case 9:
        return any({-1, 0, 1, 1, 2, 2, 3, 4, INT_MIN, INT_MAX});
      case 10:
      case 11:
        return below(2);
      case 13:
        return any({0, 1, 1, 2, 2, 3, 4, UINT_MAX});
      case 14:
      case 15:
      case 16:
        return below(std::size(kTexts));
      default:
        return oneIn(3) ? 0 : 1;
    }
  }
  void entry(long long which) {
    add(kCreate, which);
    add(kSet, which, name());
    for (unsigned int setting = 1; setting < std::size(kSettings); ++setting) {
      if (!oneIn(4)) add(kSet + setting, which, value(setting));
    }
  }
  void configure(long long member) {
    for (unsigned int setting = 0; setting < std::size(kSettings); ++setting) {
      const bool wild = oneIn(6);
      const long long odd = any({INT_MIN, -1, 0, 1, 100, 101, 356, INT_MAX});
      long long chosen = setting == 13 ? 5 + below(5) : value(setting);
      if (setting % 2 == 1 && setting < 10) chosen = wild ? odd : std::clamp(chosen, 0LL, 100LL);
      add(kConfigure + setting, member, chosen, setting == 0 ? 0 : oneIn(6));
    }
  }
  void restart() {
    if (oneIn(3)) add(kConfigure + any({2, 4, 6}), 0, below(2), oneIn(8));
    if (oneIn(3)) add(kSampleTime, 0, any({1, 2, 2, 3, 0, -5, INT_MAX, 4294968}), oneIn(8));
    if (oneIn(3)) add(kConfigure, 1 + below(4), 0, 1);
    configure(1 + below(4));
    add(kStart);
  }
  void change() {
    switch (below(24)) {
      case 0:
      case 1:
      case 2:
      case 3:
        return appear();
      case 4:
        return add(kVanish, pid());
      case 5:
      case 6:
        return add(any({kCpu, kMem}), pid(), load());
      case 7:
        return add(kRunning, pid(), below(2));
      case 8:
        return add(kParent, pid(), pid());
      case 9:
        return add(kChild, pid(), oneIn(4) ? -1 : name());
      case 10:
        return add(kSpare, below(2));
      case 11:
        return add(kFault + below(std::size(World::kWords)), 0, result());
      case 12:
        return add(kFault + below(5), oneIn(2) ? pid() : name(), result());
      case 13:
        return add(kFault + int{World::lookup}, 1 + below(6), result());
      case 14:
      case 15:
      case 16:
        return add(kCalm);
      case 17:
        return add(kDrift, any({0, 0, 0, 1, 300, 1000, -400}));
      case 18:
        return oneIn(6) ? add(kClockAt, any({0, 1, 1000, LLONG_MIN, LLONG_MAX - 1500}))
                        : add(kInfo, below(5));
      case 19:
        return add(any({kRemove, kContains, kInfo}), below(5));
      case 20:
        return add(kAdd, below(kSlots + 1));
      case 21:
        return oneIn(6) ? restart() : entry(slot());
      default: {
        const long long setting = below(std::size(kSettings));
        return add(kSet + setting, slot(), value(setting));
      }
    }
  }

  std::mt19937_64 fRandom;
  History fHistory;
};

}  // namespace

History makeHistory(unsigned long long seed) { return Maker(seed).make(); }

std::ostream& operator<<(std::ostream& out, History const& history) {
  const auto all = words();
  for (auto const& [kind, values] : history) {
    out << all[static_cast<std::size_t>(kind)];
    for (const long long value : values) out << ' ' << value;
    out << '\n';
  }
  return out;
}

std::istream& operator>>(std::istream& in, History& history) {
  const auto all = words();
  std::string word;
  for (Step step; in >> word >> step.values[0] >> step.values[1] >> step.values[2];) {
    const auto found = std::find(all.begin(), all.end(), word);
    if (found == all.end()) throw std::invalid_argument("no such step: " + word);
    step.kind = static_cast<int>(found - all.begin());
    history.push_back(step);
  }
  return in;
}

unsigned long play(History const& history, Subject& subject, World& world) {
  return Player(history, subject, world).all();
}
