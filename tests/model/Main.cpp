// Holds the plug-in to a model of it on random histories:
//   model_histories [--ticks N] [--seed S] [--replay FILE]

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "tests/model/History.h"

namespace {

/// What only failing threads, locks and files lead to, which no history has.
constexpr std::string_view kLeftOut[] = {
    "creating watchdog thread",  "initializing conditional var", "initializing stop mutex",
    "joining the watchdog",      "notifying the stop",           "stopping the watchdog thread",
    "reading process configura", "opening config file",          "getInstance ID_ICONFIGMANAGER",
    "cfgManager->loadByID"};
constexpr const char* kSituations[] = {"end of one window",
                                       "end of several windows",
                                       "end of a window of several samples",
                                       "mean at its limit",
                                       "mean just below its limit",
                                       "count at its limit",
                                       "too many, not all of them counted"};

class Comparison {
 public:
  /// Where the journals differ, or nothing.
  std::string difference(History const& history) {
    World world(fCounts), modelWorld(fCounts);
    play(history, *makePlugin(world), world);
    fPasses += play(history, *makeModel(modelWorld), modelWorld);
    std::string const &one = world.journal, &other = modelWorld.journal;
    if (one == other) return {};
    const auto at = std::mismatch(one.begin(), one.end(), other.begin(), other.end()).first;
    const std::size_t end = static_cast<std::size_t>(at - one.begin());
    const std::size_t line = end == 0 ? 0 : one.rfind('\n', end - 1) + 1;
    const auto from = [line](std::string const& text) {
      return text.substr(line, text.find('\n', line) - line);
    };
    return one.substr(0, line) + "plug-in: " + from(one) + "\nmodel:   " + from(other) + "\n";
  }

  /// The smallest history found that still has a difference.
  History shrunk(History history) {
    const auto improve = [&](History smaller) {
      const bool differs = !difference(smaller).empty();
      if (differs) history = std::move(smaller);
      return differs;
    };
    for (std::size_t before = 0; before != history.size();) {
      before = history.size();
      for (std::size_t length = before; length > 0; length /= 2) {
        for (std::size_t at = 0; at < history.size();) {
          History smaller = history;
          const auto first = smaller.begin() + static_cast<std::ptrdiff_t>(at);
          const auto left = static_cast<std::size_t>(smaller.end() - first);
          smaller.erase(first, first + static_cast<std::ptrdiff_t>(std::min(left, length)));
          if (!improve(smaller)) at += length;
        }
      }
      for (std::size_t at = 0; at < history.size() * 6; ++at) {
        for (const long long value : {0LL, 1LL, history[at / 6].values[at % 6] / 2}) {
          History simpler = history;
          if (std::exchange(simpler[at / 6].values[at % 6], value) != value && improve(simpler))
            break;
        }
      }
    }
    return history;
  }

  /// Prints how often what happened. @return how much of it never did.
  int report() {
    std::map<std::string, unsigned long> all;
    for (const char* call : World::kCalls)
      all[std::string("failed: ") + call] = fCounts.situations[call];
    for (const char* situation : kSituations) all[situation] = fCounts.situations[situation];
    std::ifstream known(LOG_MESSAGES);
    for (std::string line; std::getline(known, line);) {
      const bool leftOut = std::any_of(std::begin(kLeftOut), std::end(kLeftOut), [&](auto text) {
        return line.find(text) != std::string::npos;
      });
      if (!leftOut) all[line] = 0;
    }
    for (auto const& [format, count] : fCounts.messages) {
      std::string text;
      for (const wchar_t* at = format; *at != 0; ++at) {
        text += *at == L'\t' ? std::string("\\t") : std::string(1, static_cast<char>(*at));
      }
      all['"' + text + '"'] += count;
    }
    int never = 0;
    for (auto const& [what, count] : all) {
      std::cout << count << '\t' << what << (count == 0 ? "  NEVER" : "") << '\n';
      if (count == 0) ++never;
    }
    return never;
  }

  unsigned long passes() const { return fPasses; }

 private:
  Counts fCounts;
  unsigned long fPasses = 0;
};

}  // namespace

int main(int argc, char** argv) {
  unsigned long long ticks = 100'000, seed = 1;
  Comparison comparison;
  std::string replay;
  for (int at = 1; at + 1 < argc; at += 2) {
    const std::string_view option = argv[at];
    if (option == "--ticks") ticks = std::strtoull(argv[at + 1], nullptr, 10);
    if (option == "--seed") seed = std::strtoull(argv[at + 1], nullptr, 10);
    if (option == "--replay") replay = argv[at + 1];
  }
  if (!replay.empty()) {
    History history;
    std::ifstream(replay) >> history;
    if (history.empty()) return std::cerr << replay << ": no history\n", 2;
    const std::string difference = comparison.difference(history);
    std::cout << (difference.empty() ? "no difference\n" : difference);
    return difference.empty() ? 0 : 1;
  }
  unsigned long long number = 0;
  for (; comparison.passes() < ticks; ++number) {
    const History history = makeHistory(seed * 1'000'000'000 + number);
    if (comparison.difference(history).empty()) continue;
    const History shrunk = comparison.shrunk(history);
    std::cout << "history " << number << " of seed " << seed << ", in " << shrunk.size()
              << " steps:\n"
              << shrunk << "leads to\n"
              << comparison.difference(shrunk) << "proof: model: a difference after "
              << comparison.passes() << " ticks\n";
    return 1;
  }
  const int never = comparison.report();
  std::cout << "proof: model: " << comparison.passes() << " ticks, " << number
            << " histories, 0 differences, " << never << " kinds never happened\n";
  return never > 0 && ticks >= 100'000 ? 1 : 0;
}
