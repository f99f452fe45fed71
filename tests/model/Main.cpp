// Holds the plug-in to a model of it on random histories:
//   model_histories [--ticks N] [--seed S] [--replay FILE]

#include <fstream>
#include <iostream>
#include <sstream>

#include "tests/model/History.h"

namespace {

/// What histories lead to sooner or later: each call that may fail, the situations that the
/// model notes, and every message but those of threads, locks and files that fail.
constexpr std::size_t kSeenInAll = 10 + 3 + 64;

class Comparison {
 public:
  /// Where the journals differ, or nothing.
  std::string difference(History const& history) {
    World world(fSeen), modelWorld(fSeen);
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
    for (std::size_t before = 0; before != history.size();) {
      before = history.size();
      for (std::size_t length = before; length > 0; length /= 2) {
        for (std::size_t at = 0; at < history.size();) {
          History smaller(history.begin(), history.begin() + static_cast<std::ptrdiff_t>(at));
          for (std::size_t rest = at + length; rest < history.size(); ++rest)
            smaller.push_back(history[rest]);
          if (difference(smaller).empty())
            at += length;
          else
            history = std::move(smaller);
        }
      }
    }
    return history;
  }

  /// Prints how often what was seen. @return how much of it never was.
  std::size_t report() const {
    std::map<std::wstring_view, unsigned long> const sorted(fSeen.begin(), fSeen.end());
    for (auto const& [what, count] : sorted)
      std::cout << count << '\t' << std::string(what.begin(), what.end()) << '\n';
    return kSeenInAll - sorted.size();
  }

  unsigned long passes() const { return fPasses; }

 private:
  Counts fSeen;
  unsigned long fPasses = 0;
};

}  // namespace

int main(int argc, char** argv) {
  unsigned long long ticks = 100'000, seed = 1;
  Comparison comparison;
  std::string replay;
  for (int at = 1; at < argc; at += 2) {
    const std::string_view option = argv[at];
    std::istringstream value(at + 1 < argc ? argv[at + 1] : "");
    const bool isRead = option == "--ticks"    ? (value >> ticks) && ticks > 0
                        : option == "--seed"   ? bool(value >> seed)
                        : option == "--replay" ? bool(value >> replay)
                                               : false;
    if (!isRead || !value.eof()) return std::cerr << option << ": not understood\n", 2;
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
  const std::size_t never = comparison.report();
  std::cout << "proof: model: " << comparison.passes() << " ticks, " << number
            << " histories, 0 differences, " << never << " kinds never happened\n";
  return never > 0 && ticks >= 100'000 ? 1 : 0;
}
