#include "host/check/CheckConfiguration.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "host/check/KeyRules.h"
#include "host/check/NearestName.h"
#include "host/check/ProgramRules.h"

namespace {

/// The first part of a dotted key; a quoted part takes the rest with it.
std::string_view firstPart(std::string_view key) {
  return key.starts_with('"') ? key : key.substr(0, key.find('.'));
}

/// The number of a program's table, or 0: the watchdog writes it in one way only.
unsigned int numberOf(std::string_view part) {
  constexpr std::size_t kLongest = 9;
  const bool isNumber = !part.empty() && part.size() <= kLongest && part.front() != '0' &&
                        part.find_first_not_of("0123456789") == std::string_view::npos;
  return isNumber ? static_cast<unsigned int>(std::stoul(std::string(part))) : 0;
}

/// The parts right below a table, each with its first place in the file.
using Parts = std::map<std::string, FilePosition, std::less<>>;

Parts partsOf(TomlFile const& file, std::string const& table) {
  const std::string prefix = table.empty() ? "" : table + '.';
  Parts parts;
  for (auto at = file.entries.lower_bound(prefix); at != file.entries.end(); ++at) {
    if (!at->first.starts_with(prefix)) break;
    const std::string part(firstPart(std::string_view(at->first).substr(prefix.size())));
    const FilePosition position = at->second.keyPosition;
    const auto [known, isNew] = parts.emplace(part, position);
    if (!isNew) known->second = std::min(known->second, position);
  }
  return parts;
}

/// One walk over the file.
class Check {
 public:
  explicit Check(TomlFile const& file)
      : fFile(file),
        fGlobals(file, kWatchdogTable, fFindings),
        fParts(partsOf(file, kWatchdogTable)) {}

  void checkForeignTables() {
    for (auto const& [name, position] : partsOf(fFile, "")) {
      if (name != "watchdog")
        addForeign(name, position, didYouMean(name, {"watchdog", "host"}, ":"));
    }
    for (auto const& [name, position] : partsOf(fFile, "watchdog")) {
      if (name != "process") {
        addForeign("watchdog." + name, position, didYouMean(name, {"process"}, ":"));
      }
    }
  }

  /// @return whether there is a table to go on with.
  bool checkTable(bool isWatched) {
    for (const char* name : {"watchdog", kWatchdogTable}) {
      const auto entry = fFile.entries.find(name);
      if (entry == fFile.entries.end()) continue;
      add(Severity::error, entry->second.keyPosition, name,
          fmt::format("`{}' is {}, but a table is expected: {}", name,
                      describe(entry->second.value), kNoStart));
      return false;
    }
    return isWatched || !fParts.empty();
  }

  void checkGlobals() {
    checkValues(fGlobals, kGlobalKeys, Severity::error);
    for (WatchdogKey const& key : kGlobalKeys) {
      if (fParts.contains(key.name)) continue;
      fGlobals.add(Severity::error, firstPlace(), key.name,
                   fmt::format("`{}' is missing: {}", fGlobals.fullKey(key.name), kNoStart));
    }
    for (auto const& [name, position] : fParts) {
      if (numberOf(name) == 0) checkGlobalKey(name, position);
    }
  }

  void checkPrograms() {
    std::set<unsigned int> numbers;
    for (auto const& [name, position] : fParts) numbers.insert(numberOf(name));
    numbers.erase(0);
    const unsigned int end = endOfList();
    for (const unsigned int number : numbers) {
      if (number < end) {
        checkOneProgram(number);
      } else {
        addUnwatched(number, end);
      }
    }
  }

  Findings take() {
    sortByPlace(fFindings, fFile.path);
    return std::move(fFindings);
  }

 private:
  void add(Severity severity, FilePosition position, std::string const& key, std::string what) {
    fFindings.push_back({fFile.path, position, severity, std::move(what), key});
  }

  void addForeign(std::string const& name, FilePosition position, std::string const& meant) {
    add(Severity::warning, position, name,
        fmt::format("unknown {} `{}'{} neither the host nor the watchdog reads it",
                    fFile.entries.contains(name) ? "key" : "table", name, meant));
    fFindings.back().reporter = Reporter::others;
  }

  /// Where the watchdog's table begins, as near as values tell.
  FilePosition firstPlace() const {
    FilePosition first{1, 1};
    const auto earliest =
        std::ranges::min_element(fParts, {}, [](auto const& part) { return part.second; });
    return earliest != fParts.end() ? earliest->second : first;
  }

  void checkGlobalKey(std::string const& name, FilePosition position) {
    const auto known = namesOf(kGlobalKeys);
    if (std::ranges::find(known, name) == known.end()) addUnknown(fGlobals, name, position, known);
  }

  static void addUnknown(KeyTable& table, std::string const& name, FilePosition position,
                         std::vector<std::string_view> const& known) {
    table.add(Severity::warning, position, name,
              fmt::format("unknown key `{}'{} it is not read", table.fullKey(name),
                          didYouMean(name, known, ":")));
  }

  /// The first number that the watchdog does not find a program's name under.
  unsigned int endOfList() {
    unsigned int number = 1;
    while (programAt(number).text("name") != nullptr) ++number;
    return number;
  }

  KeyTable programAt(unsigned int number) {
    return {fFile, fGlobals.fullKey(std::to_string(number)), fFindings};
  }

  void checkOneProgram(unsigned int number) {
    KeyTable program = programAt(number);
    checkValues(program, kProgramKeys, Severity::warning);
    const auto known = namesOf(kProgramKeys);
    for (auto const& [name, position] : partsOf(fFile, program.table())) {
      if (std::ranges::find(known, name) == known.end()) addUnknown(program, name, position, known);
    }
    const auto [first, isNew] = fNames.emplace(*program.text("name"), number);
    if (isNew) {
      checkProgram(program, switches());
      return;
    }
    program.warnAtValue("name", fmt::format("\"{}\" is the name of `{}.{}' already: this program "
                                            "is dropped",
                                            first->first, kWatchdogTable, first->second));
  }

  void addUnwatched(unsigned int number, unsigned int end) {
    const KeyTable last = programAt(end);
    const bool isThere = fParts.contains(std::to_string(end));
    const char* reason = !isThere ? "which is missing"
                         : last.entry("name") != nullptr || last.firstInside("name") != nullptr
                             ? "where the name is no text"
                             : "where no name is given";
    const std::string name = std::to_string(number);
    const std::string place = number == end ? "here" : fmt::format("at `{}'", last.table());
    fGlobals.add(Severity::warning, fParts.find(name)->second, name,
                 fmt::format("`{}' is not watched: the list ends {}, {}", fGlobals.fullKey(name),
                             place, reason));
  }

  GlobalSwitches switches() const {
    constexpr int kDefaultSampleTime = 2;
    const int sampleTime = fGlobals.integer("sample_time").value_or(0);
    return {fGlobals.isTrue("cpu_enabled"), fGlobals.isTrue("mem_enabled"),
            fGlobals.isTrue("inst_enabled"), sampleTime > 0 ? sampleTime : kDefaultSampleTime};
  }

  TomlFile const& fFile;
  Findings fFindings;
  KeyTable fGlobals;
  Parts fParts;
  std::map<std::string, unsigned int> fNames;  ///< of programs, with the first that has it
};

}  // namespace

Findings findUnreadTables(TomlFile const& file, std::string const& reason) {
  Findings findings;
  for (auto const& [name, position] : partsOf(file, "")) {
    findings.push_back({file.path, position, Severity::warning,
                        fmt::format("table `{}' is not read: {}", name, reason), name});
  }
  sortByPlace(findings, file.path);
  return findings;
}

Findings checkConfiguration(TomlFile const& file, bool isWatched) {
  Check check(file);
  check.checkForeignTables();
  if (check.checkTable(isWatched)) {
    check.checkGlobals();
    check.checkPrograms();
  }
  return check.take();
}
