#include "bench/whole/Population.h"

#include <fmt/format.h>

#include <csignal>

#include "bench/whole/Interruption.h"
#include "bench/whole/Scratch.h"

namespace {

constexpr std::size_t kFewProcesses = Population::kFewNames * Population::kInstances;

std::string ownName(std::size_t process) {
  return fmt::format("sleeper-{:03}", process / Population::kInstances);
}

std::string spreadName(std::size_t process) { return fmt::format("spread-{:03}", process); }

}  // namespace

Population::Population() {
  constexpr std::size_t kProcesses = kNames * kInstances;
  fChildren.reserve(kProcesses);
  for (std::size_t process = 0; process < kProcesses; ++process) {
    checkInterruption();
    std::vector<std::string> arguments{ownName(process)};
    if (process < kFewProcesses) arguments.push_back(spreadName(process));
    fChildren.emplace_back(BENCH_SLEEPER, arguments);
  }
  awaitNames(false);
}

Watched Population::firstNames(unsigned int count) const {
  Watched watched{fmt::format("{} entries x {}", count, kInstances), {}, kInstances, {}};
  for (std::size_t process = 0; process < count * kInstances; ++process) {
    if (process % kInstances == 0) watched.names.push_back(ownName(process));
    watched.pids.push_back(fChildren[process].pid());
  }
  return watched;
}

Watched Population::spread() const {
  Watched watched{fmt::format("{} entries x 1", kFewProcesses), {}, 1, {}};
  for (std::size_t process = 0; process < kFewProcesses; ++process) {
    watched.names.push_back(spreadName(process));
    watched.pids.push_back(fChildren[process].pid());
  }
  return watched;
}

void Population::setSpread(bool isSpread) const {
  for (std::size_t process = 0; process < kFewProcesses; ++process) {
    ::kill(fChildren[process].pid(), isSpread ? SIGUSR1 : SIGUSR2);
  }
  awaitNames(isSpread);
}

void Population::awaitNames(bool isSpread) const {
  for (std::size_t process = 0; process < fChildren.size(); ++process) {
    const bool hasSpreadName = isSpread && process < kFewProcesses;
    const std::string expected = (hasSpreadName ? spreadName(process) : ownName(process)) + "\n";
    const std::string file = fmt::format("/proc/{}/comm", fChildren[process].pid());
    await("a sleeping process has its name", [&] { return readText(file) == expected; });
  }
}
