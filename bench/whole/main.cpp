// What the watchdog costs as a whole, from outside: the real host with the real
// plug-in among 2,000 sleeping processes, beside the least that such a look costs
// and beside monit. Progress goes to standard error, the report to standard output.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "bench/whole/Interruption.h"
#include "bench/whole/Monit.h"
#include "bench/whole/Report.h"
#include "bench/whole/Restarts.h"

namespace {

constexpr Patience kTickPatience{4, std::chrono::seconds(6)};
constexpr Patience kMonitPatience{4, std::chrono::seconds(9)};
constexpr unsigned int kRestarts = 7;
/// For the floor loop: two of 2,000 processes each, and what else runs here.
constexpr unsigned long kDescriptors = 16384;

void progress(std::string const& text) { std::fprintf(stderr, "%s\n", text.c_str()); }

class Benchmark {
 public:
  explicit Benchmark(unsigned int rounds) : fRounds(rounds) {}

  Results run() {
    expectTheHostToSee();
    if (Veskd::knowsVariants(fScratch)) fResults.scanOnly.emplace();
    for (unsigned int round = 1; round <= fRounds; ++round) {
      progress(fmt::format("round {} of {}", round, fRounds));
      measureTicks(fResults.asItComes, Variant::asItComes);
      if (fResults.scanOnly) measureTicks(*fResults.scanOnly, Variant::scanOnly);
      if (round == (fRounds + 1) / 2) measureMonit();
    }
    progress(fmt::format("{} restarts", kRestarts));
    fResults.restarts = measureRestarts(fScratch, kRestarts);
    return std::move(fResults);
  }

 private:
  /// That it is not cheap for want of something to look at.
  void expectTheHostToSee() {
    progress("veskd sees what there is");
    Veskd::expectToSee(fScratch, fAll);
    fPopulation.setSpread(true);
    Veskd::expectToSee(fScratch, fSpread);
    fPopulation.setSpread(false);
  }

  void measureTicks(TickCosts& costs, Variant variant) {
    const char* const how = variant == Variant::scanOnly ? " without events" : "";
    const auto measure = [&](Watched const& watched, Cost& cost) {
      progress(fmt::format("veskd{}, {}", how, watched.label));
      measureTick(fScratch, watched, variant, kTickPatience, cost);
    };
    measure(fFew, costs.few);
    measure(fAll, costs.all);
    fPopulation.setSpread(true);
    measure(fSpread, costs.spread);
    fPopulation.setSpread(false);
  }

  void measureMonit() {
    const std::string program = Monit::findProgram();
    const std::string version = program.empty() ? "" : Monit::version(fScratch, program);
    if (version.empty()) {
      progress("monit is not there");
      return;
    }
    fResults.monit.emplace().version = version;
    const auto measure = [&](Watched const& watched, Cost& cost) {
      progress(fmt::format("monit {}, {} checks", version, watched.names.size()));
      ::measureMonit(fScratch, program, watched, kMonitPatience, cost);
    };
    measure(fFew, fResults.monit->few);
    measure(fAll, fResults.monit->all);
  }

  unsigned int fRounds;
  Results fResults;
  Scratch fScratch;
  Population fPopulation;
  Watched fFew = fPopulation.few();
  Watched fAll = fPopulation.all();
  Watched fSpread = fPopulation.spread();
};

}  // namespace

int main(int argc, char** argv) {
  constexpr int kInterrupted = 130;
  try {
    unsigned int rounds = 3;
    CLI::App app("Measures what veskd costs among 2,000 processes", "vesk_bench_whole");
    app.add_option("rounds", rounds, "How often every configuration is measured")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    interruptOnSignals();
    raiseDescriptorLimit(kDescriptors);
    progress("starting 2,000 processes");
    report(Benchmark(rounds).run());
    return 0;
  } catch (Interruption const& interruption) {
    progress(interruption.what());
    return kInterrupted;
  } catch (std::exception const& failure) {
    progress(failure.what());
    return 1;
  }
}
