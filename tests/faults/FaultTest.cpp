// Every call of the framework fails once, and every allocation, in runs of one scenario. What
// must follow is made of the run in which nothing failed, by consequences.txt: all that is
// called and logged, in order, and nothing else.   fault_tests [EVERY [FROM]]

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <sstream>

#include "framework/PConditionalVar.h"
#include "framework/PProcess.h"
#include "framework/PTime.h"
#include "framework/veskGetInstance.h"
#include "tests/faults/Scenario.h"

namespace {

constexpr int kThrows = Scenario::throws, kThrowsBadAlloc = Scenario::throwsBadAlloc;
/// All kinds of calls, by their first words, and the results with which each can fail.
const struct {
  const char* words;
  std::vector<int> ways;
} kKinds[] = {
    {"cond wait notifyAll mutex lock unlock pcreate pjoin pdetach setName find getCPUUsage "
     "getMemoryUsage isRunning kill start",
     {-7}},
    {"int32ToStr", {PResult::outOfMemory}},
    {"instance", {-7, Scenario::givesNone}},
    {"init info error debug loadByID getString getInt getBool postEvent increment restart",
     {-7, kThrows, kThrowsBadAlloc}},
    {"incRef release", {kThrows, kThrowsBadAlloc}},  // they return a count
    {"~PConditionalVar ~PMutex ~PThread", {}}};

// What never throws is declared so.
template <class Function>
constexpr bool isNoexcept = false;
template <class Result, class... Values>
constexpr bool isNoexcept<Result (*)(Values...) noexcept> = true;
template <class Class, class Result, class... Values>
constexpr bool isNoexcept<Result (Class::*)(Values...) noexcept> = true;
template <class Class, class Result, class... Values>
constexpr bool isNoexcept<Result (Class::*)(Values...) const noexcept> = true;
template <class... Functions>
constexpr bool neverThrow(Functions...) {
  return (isNoexcept<Functions> && ...);
}
static_assert(neverThrow(&PConditionalVar::init, &PConditionalVar::wait,
                         &PConditionalVar::notifyAll, &PMutex::init, &PMutex::lock, &PMutex::unlock,
                         &PThread::pcreate, &PThread::pjoin, &PThread::pdetach, &PThread::setName,
                         &PProcess::find, &PProcess::getCPUUsage, &PProcess::getMemoryUsage,
                         &PProcess::isRunning, &PProcess::kill, &PProcess::start, &veskGetInstance,
                         // These have no result either.
                         &PTime::getTickCount, &PTime::getTickCountDiff,
                         &PThread::getCurrentThreadId, &PThread::getThreadId));

std::string firstWord(std::string const& line) { return line.substr(0, line.find(' ')); }
std::string afterFirstWord(std::string const& line) { return line.substr(line.find(' ') + 1); }
bool isOf(std::string const& line, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), firstWord(line)) != words.end();
}
void replaceAll(std::string& text, std::string_view what, std::string const& by) {
  for (std::size_t i = 0; (i = text.find(what, i)) != std::string::npos; i += by.size()) {
    text.replace(i, what.size(), by);
  }
}

struct Rule {
  std::regex where;
  std::string effect, said, unsaid;
  std::optional<int> result;
  std::string changed, change;
};

std::vector<Rule> readRules() {
  std::vector<Rule> rules;
  std::ifstream file(CONSEQUENCES);
  for (std::string line; std::getline(file, line);) {
    std::string rest = line.size() > 2 ? afterFirstWord(line) : "";
    if (line[0] == '+') rules.back().said += rest + "\n";
    if (line[0] == '-') rules.back().unsaid = rest;
    if (line[0] == '=') rules.back().result = std::stoi(rest);
    if (line[0] == '~') {
      const std::size_t arrow = rest.find(" => ");
      rules.back().changed = rest.substr(0, arrow);
      if (arrow != std::string::npos) rules.back().change = rest.substr(arrow + 4);
    }
    if (!std::isalpha(line[0])) continue;
    replaceAll(rest, " :: ", ")\n(?:");
    rules.push_back(
        {std::regex("(?:" + rest + ")\n[^]*"), firstWord(line), "", "", std::nullopt, "", ""});
  }
  return rules;
}

/// What must be seen when one thing goes wrong, made of what was seen when nothing did.
class Expectation {
 public:
  Expectation(Lines const& recorded, Fault const& fault)
      : fRecorded(recorded), fFault(fault), fEnd(fault.at + (fault.allocation != 0 ? 0 : 1)) {
    fOperation = before("> ");
    // The last that is needed before a search is the name for that.
    fFind = fault.isLast && recorded[fEnd].starts_with("find ") ? fEnd : before("find ");
    const bool throws = fault.result == kThrows || fault.result == kThrowsBadAlloc;
    const bool givesNone = fault.result == Scenario::givesNone;
    const bool isMemory = fault.allocation != 0;
    std::string mode = throws ? "throws" : givesNone ? "none" : "";
    std::string line = isMemory ? "new" : recorded[fault.at];
    std::string const& last = recorded[fault.at - 1];
    if (last.starts_with("instance") && (isMemory || line == "incRef")) line = last, mode = "";
    std::string const where = line + "\n" + recorded[fEnd] + "\n" + last + "\n" +
                              afterFirstWord(recorded[fOperation]) + "\n" + mode + "\n";
    static std::vector<Rule> const rules = readRules();
    std::smatch match;
    for (Rule const& rule : rules) {
      if (!std::regex_match(where, match, rule.where)) continue;
      fRule = rule;
      fResult = rule.result                    ? *rule.result
                : fault.result == kThrows      ? PResult::failed
                : givesNone                    ? PResult::notFound
                : isMemory || fault.result > 0 ? PResult::outOfMemory
                                               : fault.result;
      for (std::size_t i = 1; i < match.size(); ++i) fGroup += match[i];
      return;
    }
    ADD_FAILURE() << "no rule for " << where;
  }

  Lines lines() {
    if (fRule.effect == "hasDefault") {
      return Scenario({}, {.key = afterFirstWord(fRecorded[fFault.at])}).play();
    }
    const std::regex unsaid(fRule.unsaid);
    std::size_t rest = fEnd;
    while (!fRule.unsaid.empty() && std::regex_match(fRecorded[rest], unsaid)) ++rest;
    fRest.assign(at(rest), fRecorded.end());
    follow();
    Lines lines(fRecorded.begin(), at(fEnd));
    std::istringstream said(filled());
    for (std::string line; std::getline(said, line);) lines.push_back(line);
    lines.insert(lines.end(), fRest.begin(), fRest.end());
    return lines;
  }

  /// Without references, which are counted, and what a failed operation did to give
  /// everything back.
  Lines comparable(Lines lines) const {
    const auto from = lines.begin() + std::min<std::ptrdiff_t>(std::ssize(lines),
                                                               static_cast<std::ptrdiff_t>(fEnd));
    const auto to =
        fRule.effect != "isRepeated"
            ? from
            : std::find_if(from, lines.end(), [](auto& line) { return line[0] == '='; });
    for (auto line = from; line != to; ++line) {
      if ((*line)[0] == '~' || isOf(*line, {"lock", "unlock"})) *line = "release";
    }
    std::erase_if(lines, [](auto& line) { return line == "incRef" || line == "release"; });
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

  std::string filled() const {
    const std::string entry = afterFirstWord(fRecorded[fFind]);
    std::string const& executed = fRecorded[before("info [__executeAction]")];
    std::string action = entry.starts_with("cpu")   ? "CPU action"
                         : entry.starts_with("mem") ? "memory action"
                                                    : "instance count action";
    action += " for proces `" + entry + "'";
    if (action[0] != 'i') action += ", pid=" + executed.substr(executed.rfind(' ') + 1);
    std::string text = fRule.said;
    replaceAll(text, "{A}", "error [__updateEntry] Error taking " + action + ", res={R}");
    replaceAll(text, "{N}", entry);
    replaceAll(text, "{R}", std::to_string(fResult));
    replaceAll(text, "{1}", fGroup);
    replaceAll(text, "{O}", afterFirstWord(fRecorded[fOperation]));
    return text;
  }

  void follow() {
    std::string const& effect = fRule.effect;
    if (effect == "isRepeated") {
      fRest.assign(at(fOperation), fRecorded.end());
      const bool saysNo = fRecorded[fOperation] == "> containsProcess";
      fRest.insert(fRest.begin(), "= " + std::to_string(saysNo ? 0 : fResult));
    } else if (effect == "skipsEntry") {
      skip(fFind, 1, {"find", "unlock"});
    } else if (effect == "skipsTick") {
      skip(fFault.at, finds(at(fEnd), std::find(at(fEnd), fRecorded.end(), "unlock")), {"lock"});
    } else if (effect == "endsWorker") {
      dropTicks();
    }
    if (!fRule.changed.empty()) change();
  }

  /// Up to the end, or of this entry alone.
  void change() {
    const std::regex what(fRule.changed);
    std::string entry;
    for (auto& line : fRest) {
      if (fRule.effect == "inEntry" && isOf(line, {"find", "unlock"})) break;
      if (isOf(line, {"find"})) entry = afterFirstWord(line);
      line = std::regex_replace(line, what, fRule.change);
      replaceAll(line, "{N}", entry);
    }
    std::erase(fRest, "");
  }

  static std::size_t finds(Lines::const_iterator from, Lines::const_iterator to) {
    return static_cast<std::size_t>(
        std::count_if(from, to, [](auto& line) { return isOf(line, {"find"}); }));
  }

  /// What follows is as if `count` calls to find, from line `start` on, had found only those
  /// processes that were dealt with before.
  void skip(std::size_t start, std::size_t count, std::initializer_list<std::string_view> end) {
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
  Fault fFault;
  std::size_t fEnd, fOperation = 0, fFind = 0;
  int fResult = 0;
  Rule fRule;
  std::string fGroup;  ///< what the rule's pattern has in ()
  Lines fRest;
};

/// @return whether what is seen is what has to be.
bool holds(Lines const& recorded, Fault const& fault) {
  const Lines seen = Scenario(fault).play();
  EXPECT_EQ(Memory::live, 0) << "lost memory";
  Expectation expectation(recorded, fault);
  const Lines expected = expectation.comparable(expectation.lines());
  const Lines actual = expectation.comparable(seen);
  if (expected == actual) return true;
  auto [due, got] = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  std::string text;
  for (int i = 0; i < 4 && due != expected.end(); ++i) text += "\n  - " + *due++;
  for (int i = 0; i < 4 && got != actual.end(); ++i) text += "\n  + " + *got++;
  ADD_FAILURE() << (fault.allocation != 0 ? "memory refused before " : "failed: ")
                << recorded[fault.at] << " (" << fault.at << ", " << fault.result << ")" << text;
  return false;
}

std::size_t every = 1, from = 0;  ///< of all faults, which to play

TEST(Faults, EveryCallAndEveryAllocationFailsOnce) {
  const Lines recorded = Scenario().play();
  std::vector<Fault> faults;
  for (long n = 1; n <= Memory::made; ++n) {
    const auto place = Memory::places.begin() + n;
    faults.push_back({*place, 0, n, place[0] != place[1]});
  }
  std::map<std::string, std::pair<int, std::vector<int> const*>> calls;
  for (auto const& [words, ways] : kKinds) {
    std::istringstream split(words);
    for (std::string word; split >> word;) calls[word].second = &ways;
  }
  for (std::size_t at = 0; at < recorded.size(); ++at) {
    if (isOf(recorded[at], {">", "="})) continue;
    auto& [count, ways] = calls[firstWord(recorded[at])];
    ++count;
    ASSERT_TRUE(ways) << recorded[at] << " is of a kind that is not listed";
    for (const int way : *ways) faults.push_back({at, way});
  }
  for (auto const& [word, kind] : calls) {
    EXPECT_GT(kind.first, 0) << word;
    std::printf("%5d %s, %zu ways to fail\n", kind.first, word.c_str(), kind.second->size());
  }
  int allocations = 0, thrown = 0, failed = 0, findings = 0;
  for (std::size_t i = from % every; i < faults.size(); i += every) {
    const int result = faults[i].result;
    const bool isThrown = result == kThrows || result == kThrowsBadAlloc;
    ++(faults[i].allocation != 0 ? allocations : isThrown ? thrown : failed);
    findings += !holds(recorded, faults[i]);
  }
  std::printf("proof: faults: %d calls of %zu kinds failed, %d thrown, %d allocations failed, ",
              failed, calls.size(), thrown, allocations);
  if (every > 1) std::printf("each %zuth from %zu on, ", every, from % every);
  std::printf("%d findings\n", findings);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc > 1) every = std::max(1UL, std::strtoul(argv[1], nullptr, 10));
  // In time every one has its turn.
  from =
      argc > 2 ? std::strtoul(argv[2], nullptr, 10) : static_cast<std::size_t>(std::time(nullptr));
  return RUN_ALL_TESTS();
}
