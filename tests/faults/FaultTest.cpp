// Every call of the framework fails once, and every allocation, in runs of one scenario. What
// must follow is made of the run in which nothing failed, by consequences.txt: all that is
// called and logged, in order, and nothing else.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/IExtCounters.h"
#include "framework/ILogger.h"
#include "framework/IOSRestart.h"
#include "framework/PConditionalVar.h"
#include "framework/PProcess.h"
#include "framework/PTime.h"
#include "framework/veskGetInstance.h"
#include "tests/faults/Scenario.h"

namespace {

using Words = std::initializer_list<std::string_view>;

bool isOf(std::string const& line, Words words) {
  return std::find(words.begin(), words.end(), line.substr(0, line.find(' '))) != words.end();
}

// The kinds of calls. What never throws is declared so.
const Words kNeverThrow = {"cond",   "wait",        "notifyAll",      "mutex",     "lock",
                           "unlock", "pcreate",     "pjoin",          "pdetach",   "setName",
                           "find",   "getCPUUsage", "getMemoryUsage", "isRunning", "kill",
                           "start",  "int32ToStr",  "instance"};
const Words kMayThrow = {"init",      "info",   "error",   "debug",     "loadByID",
                         "getString", "getInt", "getBool", "postEvent", "increment",
                         "restart",   "incRef", "release"};
const Words kOnlyThrow = {"incRef", "release"};  // they return a count
const Words kNeverFail = {"~PConditionalVar", "~PMutex", "~PThread"};

template <class Result, class... Values>
constexpr bool neverThrows(Result (*)(Values...) noexcept) {
  return true;
}
template <class Class, class Result, class... Values>
constexpr bool neverThrows(Result (Class::*)(Values...) noexcept) {
  return true;
}
static_assert(neverThrows(&PConditionalVar::init) && neverThrows(&PConditionalVar::wait) &&
              neverThrows(&PConditionalVar::notifyAll) && neverThrows(&PMutex::init) &&
              neverThrows(&PMutex::lock) && neverThrows(&PMutex::unlock) &&
              neverThrows(&PThread::pcreate) && neverThrows(&PThread::pjoin) &&
              neverThrows(&PThread::pdetach) && neverThrows(&PThread::setName) &&
              neverThrows(&PProcess::find) && neverThrows(&PProcess::getCPUUsage) &&
              neverThrows(&PProcess::getMemoryUsage) && neverThrows(&PProcess::isRunning) &&
              neverThrows(&PProcess::kill) && neverThrows(&PProcess::start) &&
              neverThrows(&veskGetInstance) &&
              // These have no result either.
              neverThrows(&PTime::getTickCount) && neverThrows(&PTime::getTickCountDiff) &&
              neverThrows(&PThread::getCurrentThreadId) && noexcept(
                  std::declval<PThread const&>().getThreadId()));

/// A way to fail of one place of the recording.
struct Failure {
  int result = 0;
  std::size_t at = 0;     ///< the line that fails, or before which memory is refused
  bool isMemory = false;  ///< refused
  bool isLast = false;    ///< the last allocation before that line
};

struct Rule {
  std::regex where;
  std::string effect, said, unsaid;
};

std::vector<Rule> readRules() {
  std::vector<Rule> rules;
  std::ifstream file(CONSEQUENCES);
  for (std::string line; std::getline(file, line);) {
    const std::string rest = line.substr(std::min(line.size(), line.find(' ') + 1));
    if (line[0] == '+') rules.back().said += rest + "\n";
    if (line[0] == '-') rules.back().unsaid = rest;
    if (!std::isalpha(line[0])) continue;
    std::string where = "(?:" + rest + ")\n";
    for (std::size_t i = 0; (i = where.find(" :: ")) != std::string::npos;) {
      where.replace(i, 4, ")\n(?:");
    }
    rules.push_back({std::regex(where + "[^]*"), line.substr(0, line.find(' ')), "", ""});
  }
  return rules;
}

/// What must be seen when one thing goes wrong, made of what was seen when nothing did.
class Expectation {
 public:
  Expectation(Lines const& recorded, Failure const& failure)
      : fRecorded(recorded), fFailure(failure), fEnd(failure.at + (failure.isMemory ? 0 : 1)) {
    fOperation = before("> ");
    // The last that is needed before a search is the name for that.
    fFind = failure.isLast && recorded[fEnd].starts_with("find ") ? fEnd : before("find ");
    const int result = failure.result;
    const bool throws = result == Scenario::throws || result == Scenario::throwsBadAlloc;
    std::string mode = throws ? "throws" : result == Scenario::givesNone ? "none" : "";
    fResult = result == Scenario::throws      ? PResult::failed
              : result == Scenario::givesNone ? PResult::notFound
              : failure.isMemory || throws    ? PResult::outOfMemory
                                              : result;
    std::string line = failure.isMemory ? "new" : recorded[failure.at];
    std::string last = recorded[failure.at - 1], said;
    if (last.starts_with("instance") && (failure.isMemory || line == "incRef")) {
      // Taken and given back, so that an object without a holder would end.
      said = "incRef\nrelease\n";
      line = last;
      mode = "";
    }
    const std::string operation = recorded[fOperation].substr(2);
    if (failure.isMemory && operation == "init" && isOf(last, {">", "init"})) fResult = -501;
    if (failure.isMemory && isOf(operation, {"factory", "interfaces", "set"})) fResult = -1;
    std::string const where =
        line + "\n" + recorded[fEnd] + "\n" + last + "\n" + operation + "\n" + mode + "\n";
    static std::vector<Rule> const rules = readRules();
    std::smatch match;
    for (Rule const& rule : rules) {
      if (!std::regex_match(where, match, rule.where)) continue;
      fRule = rule;
      std::string group;
      for (std::size_t i = 1; i < match.size(); ++i) group += match[i];
      fSaid = fill(said + rule.said, group);
      return;
    }
    ADD_FAILURE() << "no rule for " << where;
  }

  Lines lines() {
    const std::regex unsaid(fRule.unsaid);
    std::size_t rest = fEnd;
    while (!fRule.unsaid.empty() && std::regex_match(fRecorded[rest], unsaid)) ++rest;
    fRest.assign(at(rest), fRecorded.end());
    follow();
    Lines lines(fRecorded.begin(), at(fEnd));
    std::istringstream said(fSaid);
    for (std::string line; std::getline(said, line);) lines.push_back(line);
    lines.insert(lines.end(), fRest.begin(), fRest.end());
    return fRule.effect == "hasDefault" ? fRest : lines;
  }

  /// Without what a failed operation did to give everything back.
  Lines comparable(Lines lines) const {
    if (fRule.effect != "isRepeated") return lines;
    const auto from = lines.begin() + std::min(std::ssize(lines), static_cast<long>(fEnd));
    const auto to = std::find_if(from, lines.end(), [](auto& line) { return line[0] == '='; });
    const auto undoes = [](auto& line) {
      return line[0] == '~' || isOf(line, {"lock", "unlock", "incRef", "release"});
    };
    lines.erase(std::remove_if(from, to, undoes), to);
    return lines;
  }

 private:
  Lines::const_iterator at(std::size_t i) const {
    return fRecorded.begin() + static_cast<std::ptrdiff_t>(i);
  }
  std::size_t before(const char* start) const {
    std::size_t i = fEnd;
    while (i > 0 && !fRecorded[--i].starts_with(start)) continue;
    return i;
  }

  std::string fill(std::string text, std::string const& group) const {
    const std::string entry = fRecorded[fFind].substr(fRecorded[fFind].find(' ') + 1);
    std::string const& executed = fRecorded[before("info [__executeAction]")];
    std::string action = entry.starts_with("cpu")   ? "CPU action"
                         : entry.starts_with("mem") ? "memory action"
                                                    : "instance count action";
    action += " for proces `" + entry + "'";
    if (action[0] != 'i') action += ", pid=" + executed.substr(executed.rfind(' ') + 1);
    const std::pair<const char*, std::string> values[] = {
        {"{A}", "error [__updateEntry] Error taking " + action + ", res={R}"},
        {"{N}", entry},
        {"{R}", std::to_string(fResult)},
        {"{1}", group},
        {"{O}", fRecorded[fOperation].substr(2)}};
    for (auto const& [key, value] : values) {
      for (std::size_t i = 0; (i = text.find(key)) != std::string::npos;) text.replace(i, 3, value);
    }
    return text;
  }

  void follow() {
    std::string const& effect = fRule.effect;
    const auto drop = [this](Words words) {
      std::erase_if(fRest, [&](auto& line) { return isOf(line, words); });
    };
    if (effect == "isRepeated") {
      fRest.assign(at(fOperation), fRecorded.end());
      const bool saysNo = fRecorded[fOperation] == "> containsProcess";
      fRest.insert(fRest.begin(), "= " + std::to_string(saysNo ? 0 : fResult));
    } else if (effect == "hasDefault") {
      std::string const& line = fRecorded[fFailure.at];
      fRest = Scenario({}, {.key = line.substr(line.find(' ') + 1)}).play();
    } else if (effect == "skipsEntry") {
      skip(fFind, 1, {"find", "unlock"});
    } else if (effect == "skipsTick") {
      const auto end = std::find(at(fEnd), fRecorded.end(), "unlock");
      skip(fFailure.at, finds(at(fEnd), end), {"lock"});
    } else if (effect == "endsWorker") {
      dropTicks();
    } else if (effect == "countsOneLess") {
      for (auto& line : fRest) {
        if (isOf(line, {"find", "unlock"})) break;
        line = std::regex_replace(line, std::regex("(current=|postEvent )2"), "$011");
      }
    } else if (effect == "mutes") {
      drop({"error", "info", "debug", "init"});
      fRest.erase(std::find(fRest.rbegin(), fRest.rend(), "release").base() - 1);
    } else if (effect == "dropsCounts" || effect == "dropsEvents") {
      if (effect == "dropsCounts") drop({"increment"});
      if (effect == "dropsEvents") refuseEvents();
      fRest.erase(
          std::find(std::find(fRest.begin(), fRest.end(), "> end"), fRest.end(), "release"));
    }
  }

  void refuseEvents() {
    for (std::string entry; auto& line : fRest) {
      if (isOf(line, {"find"})) entry = line.substr(5);
      if (!isOf(line, {"postEvent"})) continue;
      line = "error [__sendEvent] Error sending `" + line.substr(line.rfind(' ') + 1) +
             "' event for process `" + entry + "', res=-504";
    }
  }

  static std::size_t finds(Lines::const_iterator from, Lines::const_iterator to) {
    return static_cast<std::size_t>(
        std::count_if(from, to, [](auto& line) { return isOf(line, {"find"}); }));
  }

  /// What follows is as if `count` calls to find, from line `start` on, had found only those
  /// processes that were dealt with before.
  void skip(std::size_t start, std::size_t count, Words end) {
    const auto read = std::count_if(at(start), at(fEnd), [](auto& line) {
      return isOf(line, {"getCPUUsage", "getMemoryUsage", "isRunning"});
    });
    const std::size_t first = finds(fRecorded.begin(), at(start));
    static std::map<World, Lines> worlds;
    auto const [world, isNew] =
        worlds.try_emplace({"", first, first + count,
                            static_cast<std::size_t>(std::max(std::ptrdiff_t{1}, read) - 1)});
    if (isNew) world->second = Scenario({}, world->first).play();
    Lines const& other = world->second;
    const auto from = std::find_if(other.begin() + static_cast<std::ptrdiff_t>(start) + 1,
                                   other.end(), [&](auto& line) { return isOf(line, end); });
    fRest.assign(from, other.end());
  }

  void dropTicks() {
    bool drops = false;
    std::erase_if(fRest, [&](auto& line) {
      if (line[0] == '>') drops = line == "> tick";
      if (line == "notifyAll") drops = true;
      const bool dropsThis = drops && line != "> tick";
      if (line.ends_with("Finished waiting for the watchdog thread")) drops = false;
      return dropsThis;
    });
  }

  Lines const& fRecorded;
  Failure fFailure;
  std::size_t fEnd, fOperation = 0, fFind = 0;
  int fResult = 0;
  Rule fRule;
  std::string fSaid;
  Lines fRest;
};

/// @return whether what was seen is what had to be.
bool holds(Lines const& recorded, Lines const& seen, Failure const& failure) {
  EXPECT_EQ(Memory::live, 0) << "lost memory";
  Expectation expectation(recorded, failure);
  const Lines expected = expectation.comparable(expectation.lines());
  const Lines actual = expectation.comparable(seen);
  if (expected == actual) return true;
  auto [due, got] = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  std::string text;
  for (int i = 0; i < 4 && due != expected.end(); ++i) text += "\n  - " + *due++;
  for (int i = 0; i < 4 && got != actual.end(); ++i) text += "\n  + " + *got++;
  ADD_FAILURE() << (failure.isMemory ? "memory refused before " : "failed: ")
                << recorded[failure.at] << " (" << failure.at << ", " << failure.result << ")"
                << text;
  return false;
}

TEST(Faults, EveryCallAndEveryAllocationFailsOnce) {
  Memory::made = 0;
  const Lines recorded = Scenario().play();
  const long allocations = Memory::made;
  const auto places = Memory::places;
  std::map<std::string, int> calls;
  int failed = 0, thrown = 0, findings = 0;
  for (std::size_t at = 0; at < recorded.size(); ++at) {
    std::string const& line = recorded[at];
    if (isOf(line, {">", "="})) continue;
    ++calls[line.substr(0, line.find(' '))];
    std::vector<int> results;
    if (!isOf(line, kOnlyThrow) && !isOf(line, kNeverFail)) results = {-7};
    if (line == "int32ToStr") results = {PResult::outOfMemory};
    if (isOf(line, {"instance"})) results.push_back(Scenario::givesNone);
    failed += static_cast<int>(results.size());
    if (isOf(line, kMayThrow)) {
      results.insert(results.end(), {Scenario::throws, Scenario::throwsBadAlloc});
      thrown += 2;
    }
    for (const int result : results) {
      findings += !holds(recorded, Scenario({result, at}).play(), {result, at});
    }
  }
  for (long n = 1; n <= allocations; ++n) {
    Memory::made = 0;
    Memory::refused = n;
    const Lines seen = Scenario().play();
    Memory::refused = 0;
    const auto place = places.begin() + n;
    findings += !holds(recorded, seen, {0, *place, true, place[0] != place[1]});
  }
  std::size_t kinds = 0;
  for (Words const& words : {kNeverThrow, kMayThrow, kNeverFail}) {
    for (auto const word : words) {
      const int count = calls[std::string(word)];
      EXPECT_GT(count, 0) << word;
      std::printf("%5d %s%s\n", count, std::string(word).c_str(),
                  words.begin() == kNeverFail.begin()    ? " (cannot fail)"
                  : words.begin() == kNeverThrow.begin() ? " (cannot throw)"
                                                         : "");
      ++kinds;
    }
  }
  EXPECT_EQ(calls.size(), kinds) << "calls of a kind that is not listed";
  std::printf(
      "proof: faults: %d calls of %zu kinds failed, %d thrown, %ld allocations failed, "
      "%d findings\n",
      failed, kinds, thrown, allocations, findings);
}

}  // namespace
