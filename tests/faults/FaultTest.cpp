// Every call of the framework fails once, and every allocation, in runs of one scenario. What
// must follow is made of the run in which nothing failed, by the table below: all that is
// called and logged, in order, and nothing else.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <regex>
#include <set>

#include "framework/IConfigManager.h"
#include "framework/IEventDispatcher.h"
#include "framework/IExtCounters.h"
#include "framework/ILogger.h"
#include "framework/IOSRestart.h"
#include "framework/PConditionalVar.h"
#include "framework/PMutex.h"
#include "framework/PProcess.h"
#include "framework/PThread.h"
#include "framework/PTime.h"
#include "framework/PUtils.h"
#include "framework/veskGetInstance.h"
#include "plugin/PBaseptr.h"
#include "tests/faults/Scenario.h"

namespace {

/// Whether a call may throw, by its declaration.
template <class Result, class... Values, bool kNever>
constexpr bool mayThrow(Result (*)(Values...) noexcept(kNever)) {
  return !kNever;
}
template <class Class, class Result, class... Values, bool kNever>
constexpr bool mayThrow(Result (Class::*)(Values...) noexcept(kNever)) {
  return !kNever;
}
template <class Class, class Result, class... Values, bool kNever>
constexpr bool mayThrow(Result (Class::*)(Values..., ...) noexcept(kNever)) {
  return !kNever;
}
static_assert(std::is_nothrow_destructible_v<PMutex> && std::is_nothrow_destructible_v<PThread> &&
              std::is_nothrow_destructible_v<PConditionalVar> && !mayThrow(&PTime::getTickCount) &&
              !mayThrow(&PTime::getTickCountDiff) &&
              !mayThrow(&PThread::getCurrentThreadId) && noexcept(
                  std::declval<PThread const&>().getThreadId()));

constexpr struct {
  std::string_view word;    ///< in the journal
  std::string_view symbol;  ///< what the library asks the linker for; none for an interface
  bool mayThrow;
  bool mayFail = true;  ///< has a result that says so
} kKinds[] = {
    {"cond", "PConditionalVar::init", mayThrow(&PConditionalVar::init)},
    {"wait", "PConditionalVar::wait", mayThrow(&PConditionalVar::wait)},
    {"notifyAll", "PConditionalVar::notifyAll", mayThrow(&PConditionalVar::notifyAll)},
    {"mutex", "PMutex::init", mayThrow(&PMutex::init)},
    {"lock", "PMutex::lock", mayThrow(&PMutex::lock)},
    {"unlock", "PMutex::unlock", mayThrow(&PMutex::unlock)},
    {"pcreate", "PThread::pcreate", mayThrow(&PThread::pcreate)},
    {"pjoin", "PThread::pjoin", mayThrow(&PThread::pjoin)},
    {"pdetach", "PThread::pdetach", mayThrow(&PThread::pdetach)},
    {"setName", "PThread::setName", mayThrow(&PThread::setName)},
    {"find", "PProcess::find", mayThrow(&PProcess::find)},
    {"getCPUUsage", "PProcess::getCPUUsage", mayThrow(&PProcess::getCPUUsage)},
    {"getMemoryUsage", "PProcess::getMemoryUsage", mayThrow(&PProcess::getMemoryUsage)},
    {"isRunning", "PProcess::isRunning", mayThrow(&PProcess::isRunning)},
    {"kill", "PProcess::kill", mayThrow(&PProcess::kill)},
    {"start", "PProcess::start", mayThrow(&PProcess::start)},
    {"int32ToStr", "PUtils::int32ToStr", false},  // its contract: a result instead
    {"instance", "veskGetInstance", mayThrow(&veskGetInstance)},
    {"incRef", "", mayThrow(&IBase::incRef), false},
    {"release", "", mayThrow(&IBase::decRef), false},
    {"init", "", mayThrow(&ILogger::init)},
    {"info", "", mayThrow(&ILogger::info)},
    {"error", "", mayThrow(&ILogger::error)},
    {"debug", "", mayThrow(&ILogger::debug)},
    {"loadByID", "", mayThrow(&IConfigManager::loadByID)},
    {"getString", "", mayThrow(&IConfig::getString)},
    {"getInt", "", mayThrow(&IConfig::getInt)},
    {"getBool", "", mayThrow(&IConfig::getBool)},
    {"postEvent", "", mayThrow(&IEventDispatcher::postEvent)},
    {"increment", "", mayThrow(&IExtCounters::increment)},
    {"restart", "", mayThrow(&IOSRestart::restart)},
    {"~PConditionalVar", "PConditionalVar::~PConditionalVar", false, false},
    {"~PMutex", "PMutex::~PMutex", false, false},
    {"~PThread", "PThread::~PThread", false, false},
};

/// What a failure leads to, besides what is said.
enum Effect {
  goesOn,
  isRepeated,     ///< host or client get its result, find nothing changed, and ask again
  hasDefault,     ///< the key
  skipsEntry,     ///< what is left of the entry's part of this tick
  skipsTick,      ///< the whole of it
  endsWorker,     ///< no more ticks, and in the end nobody to be joined
  countsOneLess,  ///< of the instances of the entry
  mutes,          ///< there is no logger
  uncounts,       ///< there are no counters
  dropsEvents,    ///< there is no dispatcher
};

#define NOT_LOADED "error [init] Error loading ProcessWatchdog configuration, res={R}\n"
#define NOT_OPENED "error [_loadConfig] Error opening config file, res={R}\n" NOT_LOADED
#define LOOP_ENDED "debug [_watchdogThreadProc] Thread loop finished\n"
#define NOT_WAITED "error [_watchdogThreadProc] Failed to wait on conditinal var, res={R}\n"
#define NOT_STOPPED "error [~PProcessWatchdog] Error stopping the watchdog thread, res="
#define NOT_KILLED "error [__terminateAllProcesses] Error killing process pid={1}, res={R}\n"
#define NOT_STARTED "error [__startProcess] Error restarting `{1}', res={R}\n"

/// The first that fits counts.
const struct Rule {
  /// How it failed, in which operation, line before, failed line ("new"), line after; "" for any.
  std::array<const char*, 5> where;
  const char* said;  ///< {R} result, {O} operation, {N} entry, {1} what the pattern has in (),
                     ///< {A} what is said of an action that failed
  const char* unsaid = "";  ///< what does not follow directly
  Effect effect = goesOn;
  std::regex pattern = [this] {
    std::string all;
    for (const char* part : where)
      all += std::string("(?:") + (part && *part ? part : ".*") + ")\n";
    return std::regex(all);
  }();
} kRules[] = {
    {{"", "", "", "(?:error|debug|info|init|release|setName|increment|unlock)(?: .*)?|pdetach"},
     ""},
    {{"", "", "", "cond init"},
     "error [init] Error initializing conditional var, res={R}\n",
     "",
     isRepeated},
    {{"", "", "", "mutex init recursive"},
     "error [init] Error initializing stop mutex, res={R}\n",
     "",
     isRepeated},
    {{"", "", "", "instance .*logger"}, "", "incRef", mutes},
    {{"", "", "", "instance .*config.manager"},
     "error [__openConfigFile] getInstance ID_ICONFIGMANAGER err: {R}\n" NOT_OPENED,
     "",
     isRepeated},
    {{"throws", "init", "", "(?:load|get).*"}, NOT_LOADED, "", isRepeated},
    {{"throws", "init", "loadByID.*", "incRef"}, NOT_LOADED, "", isRepeated},
    {{"", "", "", "loadByID .*"},
     "error [__openConfigFile] cfgManager->loadByID(veskp.watchdog.process) err: {R}\n" NOT_OPENED,
     "",
     isRepeated},
    {{"", "", "", R"(get\w+ (watchdog\.process\.[a-z]\w+))"},
     "error [__loadGlobalConfig] Error reading value for key `{1}', res={R}\n"
     "error [_loadConfig] Error reading global configuration for ProcessWatchdog, "
     "res={R}\n" NOT_LOADED,
     "",
     isRepeated},
    {{"", "", "", R"(get\w+ watchdog.*)"}, "", "", hasDefault},
    {{"none", "", "", "instance .*eventdispatcher"}, "", "incRef", dropsEvents},
    {{"", "", "", "instance .*eventdispatcher"},
     "error [init] Error obtaining instance of IEventDispatcher, res={R}\n",
     "",
     isRepeated},
    {{"none", "", "", "instance .*extcounters"}, "", "incRef", uncounts},
    {{"", "", "", "instance .*extcounters"},
     "error [init] Error obtaining instance of IExtCounters, res={R}\n",
     "incRef",
     uncounts},
    {{"", "", "", "pcreate"},
     "error [init] Error creating watchdog thread, res={R}\nnotifyAll\n"
     "debug [__stopWatchdog] Waiting for the watchdog thread to finish\npjoin\n"
     "error [__stopWatchdog] Error joining the watchdog thread, res=-3\n" NOT_STOPPED "-3\n",
     "",
     isRepeated},
    {{"", "init|end", "", "lock", "unlock"}, "", "unlock"},
    {{"", "tick", "", "lock", "wait.*"}, NOT_WAITED LOOP_ENDED, "wait .*", endsWorker},
    {{"", "tick", "", "lock"},
     "error [__watchdogTick] Error locking the stop mutex, res={R}\n",
     "",
     skipsTick},
    {{"", "", "", "lock"}, "error [{O}] Error locking the stop mutex, res={R}\n", "", isRepeated},
    {{"", "", "", "wait .*"}, NOT_WAITED "unlock\n" LOOP_ENDED, "", endsWorker},
    // The worker is joined later, when the thread's own object ends.
    {{"", "", "", "notifyAll"},
     "error [__stopWatchdog] Error notifying the stop conditional var, res={R}\n" NOT_STOPPED
     "{R}\nlock\nunlock\nrelease\nrelease\n~PConditionalVar\n~PMutex\n~PThread\nunlock\n" LOOP_ENDED
     "release\n",
     "[^=].*"},
    {{"", "", "", "pjoin"},
     "unlock\n" LOOP_ENDED
     "error [__stopWatchdog] Error joining the watchdog thread, res={R}\n" NOT_STOPPED "{R}\n",
     "unlock|debug .*|pdetach"},
    {{"", "", "", "find .*"},
     "error [__updateEntries] Error obtaining process IDs for process `{N}', res={R}\n",
     "",
     skipsEntry},
    {{"", "", "", "getCPUUsage (.*)"},
     "error [__getEntryCpuUsageForPid] Error obtaining the CPU usage of process {1}, res={R}\n"},
    {{"", "", "", "getMemoryUsage (.*)"},
     "error [__getEntryMemUsageForPid] Error obtaining the memory usage of process {1}, res={R}\n"},
    {{"", "", "", "isRunning (.*)"},
     "error [__shouldIncrementInstCount] Error obtaining the state of process {1}, res={R}\n",
     "",
     countsOneLess},
    {{"", "", "info .__terminateProcess.*", "kill .*"}, "{A}"},
    {{"", "", "info .__restartProcess.*", "kill (.*)"},
     "error [__restartProcess] Error terminating process {1} for `{N}'\n{A}",
     "start .*|info .__startProcess.*"},
    {{"", "", "", "kill (.*)", "kill.*"}, NOT_KILLED},
    {{"", "", "", "kill (.*)", "start.*"},
     NOT_KILLED "error [__takeInstAction] Error terminating all processes, res={R}\n"},
    {{"", "", "", "kill (.*)"}, NOT_KILLED "{A}"},
    {{"", "", "", "start (.*?)\\|.*", ".*`(?:cpu|mem).*"},
     NOT_STARTED "error [__restartProcess] Error starting process for `{N}', res={R}\n{A}",
     "info .__startProcess.*"},
    {{"", "", "", "start (.*?)\\|.*"}, NOT_STARTED "{A}", "info .__startProcess.*"},
    {{"", "", "", "postEvent \\d+ (.*)"},
     "error [__sendEvent] Error sending `{1}' event for process `{N}', res={R}\n"},
    {{"", "", "", "instance .*os.restart"},
     "error [__restartOs] Error obtaining instance of IOSRestart, res={R}\n{A}",
     "incRef|info .__restartOs.*|restart 0|release"},
    {{"", "", "", "restart 0"},
     "error [__restartOs] Error restaring OS, res={R}\nrelease\n{A}",
     "release"},
    // The dump is cut short, whatever the reason.
    {{"", "init", "debug .*", "int32ToStr"}, "", "debug \t.*|int32ToStr"},
    {{"", "init", "", "new", "debug \t.*"}, "", "debug \t.*|int32ToStr"},
    {{"", "init", "(?:>|init) .*", "new"}, "", "", isRepeated},
    {{"", "init", "", "new|int32ToStr"}, NOT_LOADED, "", isRepeated},
    {{"", "addProcessEntry", "(?!>).*", "new"},
     "error [{O}] Ended by an exception, res={R}\n",
     "",
     isRepeated},
    {{"", "tick", "", "new"},
     "error [__updateEntries] Updating `{N}' ended by an exception, res={R}\n",
     "",
     skipsEntry},
    {{"", "(?!end).*", "", "new"}, "", "", isRepeated},
};

bool isFirstWord(std::string_view word, std::string_view line) {
  return line.starts_with(word) && (line.size() == word.size() || line[word.size()] == ' ');
}

bool isOf(std::string const& line, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(),
                     [&](auto word) { return isFirstWord(word, line); });
}

/// What must be seen when one thing goes wrong, made of what was seen when nothing did.
class Expectation {
 public:
  /// @param at the line of the call that failed, or the one before which memory ran out.
  Expectation(Lines const& recorded, int result, std::size_t at, bool isMemory, bool isLast)
      : fRecorded(recorded), fAt(at), fEnd(at + (isMemory ? 0 : 1)) {
    const auto last = [&](const char* start) {
      std::size_t i = fEnd;
      while (i-- > 0 && !fRecorded[i].starts_with(start)) continue;
      return i;
    };
    fOperation = last("> ");
    // The last that is needed before a search is the name for that.
    fFind = isLast && recorded[at].starts_with("find ") ? at : last("find ");
    std::string line = isMemory ? "new" : recorded[at];
    std::string mode = result == Scenario::throws || result == Scenario::throwsBadAlloc ? "throws"
                       : result == Scenario::givesNone                                  ? "none"
                                                                                        : "";
    fResult = result == Scenario::throws                       ? -999
              : result == Scenario::givesNone                  ? -504
              : isMemory || result == Scenario::throwsBadAlloc ? -12
                                                               : result;
    std::string prefix, before = recorded[at - 1];
    if (before.starts_with("instance") && (isMemory || line == "incRef")) {
      // Taken and given back, so that an object without a holder would end.
      prefix = "incRef\nrelease\n";
      line = std::exchange(before, "");
      mode = "";
    }
    const std::string operation = recorded[fOperation].substr(2);
    if (isMemory && operation == "init" && isOf(before, {">", "init"})) fResult = -501;
    if (isMemory && isOf(operation, {"factory", "interfaces", "set"})) fResult = -1;
    const std::string where =
        mode + "\n" + operation + "\n" + before + "\n" + line + "\n" + recorded[fEnd] + "\n";
    std::smatch match;
    for (Rule const& rule : kRules) {
      if (!std::regex_match(where, match, rule.pattern)) continue;
      fRule = &rule;
      std::string group;
      for (std::size_t i = 1; i < match.size(); ++i) group += match[i];
      say(prefix + rule.said, group);
      break;
    }
  }

  bool isKnown() const { return fRule != nullptr; }

  Lines lines() {
    fLines.assign(fRecorded.begin(), fRecorded.begin() + static_cast<std::ptrdiff_t>(fEnd));
    fLines.insert(fLines.end(), fSaid.begin(), fSaid.end());
    const std::regex unsaid(fRule->unsaid);
    std::size_t rest = fEnd;
    while (*fRule->unsaid && std::regex_match(fRecorded[rest], unsaid)) ++rest;
    fRest.assign(fRecorded.begin() + static_cast<std::ptrdiff_t>(rest), fRecorded.end());
    follow();
    fLines.insert(fLines.end(), fRest.begin(), fRest.end());
    return fLines;
  }

  /// Without what a failed operation did to give everything back.
  Lines comparable(Lines lines) const {
    if (fRule->effect != isRepeated) return lines;
    const auto from = lines.begin() + static_cast<std::ptrdiff_t>(std::min(fEnd, lines.size()));
    const auto to = std::find_if(from, lines.end(), [](auto& line) { return line[0] == '='; });
    lines.erase(std::remove_if(
                    from, to,
                    [](auto& line) {
                      return line[0] == '~' || isOf(line, {"lock", "unlock", "incRef", "release"});
                    }),
                to);
    return lines;
  }

 private:
  void say(std::string text, std::string const& group) {
    const std::string entry = fFind < fRecorded.size() ? fRecorded[fFind].substr(5) : "";
    const std::string process = pidOfAction();
    const std::string action =
        entry.starts_with("cpu")   ? "CPU action for proces `{N}', pid=" + process
        : entry.starts_with("mem") ? "memory action for proces `{N}', pid=" + process
                                   : "instance count action for proces `{N}'";
    const std::pair<std::string, std::string> values[] = {
        {"{A}", "error [__updateEntry] Error taking " + action + ", res={R}\n"},
        {"{N}", entry},
        {"{R}", std::to_string(fResult)},
        {"{1}", group},
        {"{O}", fRecorded[fOperation].substr(2)}};
    for (auto const& [key, value] : values) {
      for (std::size_t i = 0; (i = text.find(key)) != std::string::npos;)
        text.replace(i, key.size(), value);
    }
    fSaid = split(text);
  }
  static Lines split(std::string const& text) {
    Lines lines;
    for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
      lines.push_back(text.substr(start, end - start));
    }
    return lines;
  }
  std::string pidOfAction() const {
    for (std::size_t i = fAt; i > 0; --i) {
      if (fRecorded[i].starts_with("info [__executeAction]"))
        return fRecorded[i].substr(fRecorded[i].rfind(' ') + 1);
    }
    return "";
  }

  void follow() {
    switch (fRule->effect) {
      case goesOn:
        return;
      case isRepeated:
        fLines.push_back(
            fRecorded[fOperation] == "> containsProcess" ? "= 0" : "= " + std::to_string(fResult));
        fRest.assign(fRecorded.begin() + static_cast<std::ptrdiff_t>(fOperation), fRecorded.end());
        return;
      case hasDefault: {
        std::string const& line = fRecorded[fAt];
        fLines = Scenario({}, {.key = line.substr(line.find(' ') + 1)}).play();
        fRest.clear();
        return;
      }
      case skipsEntry:
        return skip(fFind, 1);
      case skipsTick:
        return skip(fAt, finds(fAt, nextOf(fAt, {"unlock"})));
      case endsWorker:
        return dropTicks();
      case countsOneLess:
        for (auto& line : fRest) {
          if (isOf(line, {"find", "unlock"})) return;
          line = std::regex_replace(line, std::regex("(current=|postEvent )2"), "$011");
        }
        return;
      case mutes:
        std::erase_if(fRest, [](auto& line) {
          return isOf(line, {"error", "info", "debug", "init"});
        });
        fRest.erase(std::find(fRest.rbegin(), fRest.rend(), "release").base() - 1);
        return;
      case uncounts:
        std::erase_if(fRest, [](auto& line) { return isOf(line, {"increment"}); });
        releaseOneLess();
        return;
      case dropsEvents:
        for (std::string entry; auto& line : fRest) {
          if (isOf(line, {"find"})) entry = line.substr(5);
          if (isOf(line, {"postEvent"})) {
            line = "error [__sendEvent] Error sending `" + line.substr(line.rfind(' ') + 1) +
                   "' event for process `" + entry + "', res=-504";
          }
        }
        releaseOneLess();
        return;
    }
  }
  void releaseOneLess() {
    fRest.erase(std::find(std::find(fRest.begin(), fRest.end(), "> end"), fRest.end(), "release"));
  }
  std::size_t nextOf(std::size_t i, std::initializer_list<std::string_view> words,
                     Lines const* lines = nullptr) const {
    if (!lines) lines = &fRecorded;
    while (++i < lines->size() && !isOf((*lines)[i], words)) continue;
    return i;
  }
  std::size_t finds(std::size_t from, std::size_t to) const {
    return static_cast<std::size_t>(
        std::count_if(fRecorded.begin() + static_cast<std::ptrdiff_t>(from),
                      fRecorded.begin() + static_cast<std::ptrdiff_t>(to),
                      [](auto& line) { return isOf(line, {"find"}); }));
  }

  /// What follows is as if `count` calls to find, from line `start` on, had found only those
  /// processes that were dealt with before.
  void skip(std::size_t start, std::size_t count) {
    std::size_t read = 0;
    for (std::size_t i = start; i < fEnd; ++i) {
      if (isOf(fRecorded[i], {"getCPUUsage", "getMemoryUsage", "isRunning"})) ++read;
    }
    const std::size_t first = finds(0, start);
    static std::map<World, Lines> worlds;
    World const world = {.key = "",
                         .firstFind = first,
                         .endOfFinds = first + count,
                         .found = read > 0 ? read - 1 : 0};
    auto [found, isNew] = worlds.try_emplace(world);
    if (isNew) found->second = Scenario({}, world).play();
    Lines const& other = found->second;
    const std::size_t end = fRule->effect == skipsTick ? nextOf(start, {"unlock"}, &other) + 1
                                                       : nextOf(start, {"find", "unlock"}, &other);
    fRest.assign(other.begin() + static_cast<std::ptrdiff_t>(end), other.end());
  }

  void dropTicks() {
    Lines kept;
    bool drops = false;
    for (auto const& line : fRest) {
      if (line[0] == '>') drops = line == "> tick";
      if (line == "notifyAll") drops = true;
      if (!drops || line == "> tick") kept.push_back(line);
      if (line.ends_with("Finished waiting for the watchdog thread")) drops = false;
    }
    fRest = kept;
  }

  Lines const& fRecorded;
  std::size_t fAt, fEnd, fOperation = 0, fFind = 0;
  int fResult = 0;
  Rule const* fRule = nullptr;
  Lines fSaid, fLines, fRest;
};

class Faults : public testing::Test {
 protected:
  Faults() {
    Memory::made = 0;
    fRecorded = Scenario().play();
    fAllocations = Memory::made;
    fPlaces = Memory::places;
  }

  void check(Lines const& seen, int result, std::size_t at, bool isMemory, bool isLast = false) {
    Expectation expectation(fRecorded, result, at, isMemory, isLast);
    const std::string what = (isMemory ? "memory before " : std::to_string(result) + " of ") +
                             std::to_string(at) + " " + fRecorded[at];
    if (!expectation.isKnown()) {
      ADD_FAILURE() << what << ": what follows is not in the table";
      return;
    }
    const Lines expected = expectation.comparable(expectation.lines());
    const Lines actual = expectation.comparable(seen);
    if (expected == actual) return;
    const auto [want, got] =
        std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    std::string text;
    for (auto i = want; i != expected.end() && i < want + 4; ++i) text += "\n  - " + *i;
    for (auto i = got; i != actual.end() && i < got + 4; ++i) text += "\n  + " + *i;
    ADD_FAILURE() << what << text;
    ++fFindings;
  }

  Lines fRecorded;
  long fAllocations = 0;
  decltype(Memory::places) fPlaces{};
  int fFindings = 0;
};

TEST_F(Faults, EveryCallAndEveryAllocationFailsOnce) {
  std::map<std::string_view, int> calls;
  int failed = 0, thrown = 0;
  for (std::size_t at = 0; at < fRecorded.size(); ++at) {
    std::string const& line = fRecorded[at];
    if (isOf(line, {">", "="})) continue;
    auto const kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                   [&](auto& k) { return isFirstWord(k.word, line); });
    ASSERT_NE(kind, std::end(kKinds)) << line;
    ++calls[kind->word];
    std::vector<int> results;
    if (kind->mayFail) results = {line == "int32ToStr" ? PResult::outOfMemory : -7};
    if (kind->word == "instance") results.push_back(Scenario::givesNone);
    failed += static_cast<int>(results.size());
    if (kind->mayThrow) {
      results.insert(results.end(), {Scenario::throws, Scenario::throwsBadAlloc});
      thrown += 2;
    }
    for (const int result : results) {
      Lines seen = Scenario({result, at}).play();
      check(seen, result, at, false);
      seen = {};
      EXPECT_EQ(Memory::live, 0) << line;
    }
  }
  for (long n = 1; n <= fAllocations; ++n) {
    Memory::made = 0;
    Memory::refused = n;
    const Lines seen = Scenario().play();
    Memory::refused = 0;
    const auto place = fPlaces.begin() + n;
    check(seen, 0, *place, true, place[0] != place[1]);
    EXPECT_EQ(Memory::live, 0) << n;
  }
  for (auto const& kind : kKinds) {
    std::printf("%6d %s%s%s\n", calls[kind.word], std::string(kind.word).c_str(),
                kind.mayFail ? ", fails" : "", kind.mayThrow ? ", throws twice" : "");
    EXPECT_GT(calls[kind.word], 0) << kind.word;
  }
  std::printf(
      "proof: faults: %d calls of %zu kinds failed, %d thrown, %ld allocations failed, %d "
      "findings\n",
      failed, std::size(kKinds), thrown, fAllocations, fFindings);
}

}  // namespace
