#include "bench/whole/Cost.h"

#include <chrono>
#include <functional>
#include <stdexcept>

#include "bench/whole/CpuClock.h"
#include "bench/whole/FloorLoop.h"
#include "bench/whole/Monit.h"
#include "bench/whole/PassMeter.h"

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

double ms(std::chrono::nanoseconds duration) { return Milliseconds(duration).count(); }

/// Throws away what a process that has just been started does in its first second,
/// its first pass at least.
void warmUp(PassMeter& meter, std::function<void()> const& duringPause, Cost& cost) {
  const SteadyTime end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  meter.awaitPass();
  cost.startUp.add(ms(meter.cpuAtEnd()));
  while (std::chrono::steady_clock::now() < end) meter.awaitPass(duringPause);
}

void measurePasses(pid_t pid, std::chrono::milliseconds pause, Patience patience, Cost& cost,
                   FloorLoop* floor = nullptr) {
  constexpr unsigned int kMostDropped = 20;
  const auto duringPause = [&] {
    if (floor != nullptr) cost.floor.add(ms(floor->pass()));
  };
  PassMeter meter(pid, pause);
  warmUp(meter, duringPause, cost);
  const SteadyTime end = std::chrono::steady_clock::now() + patience.time;
  unsigned int measured = 0;
  unsigned int dropped = 0;
  do {
    const auto pass = meter.awaitPass(duringPause);
    if (!pass) {
      if (++dropped == kMostDropped) throw std::runtime_error("too busy to tell passes apart");
      continue;
    }
    ++measured;
    cost.cpu.add(ms(pass->cpu));
    cost.wall.add(ms(pass->wall));
  } while (measured == 0 || (measured < patience.passes && std::chrono::steady_clock::now() < end));
  cost.dropped += dropped;
  cost.residentKib.add(static_cast<double>(residentKib(pid)));
}

void measureFirstSeconds(Scratch const& scratch, std::string const& program, Watched const& watched,
                         Series& series) {
  constexpr int kCycles = 10;
  Monit monit(scratch, program, watched);
  const CpuClock clock(monit.pid());
  SteadyTime until = std::chrono::steady_clock::now();
  auto before = clock.read();
  for (int cycle = 0; cycle < kCycles; ++cycle) {
    sleepUntil(until += std::chrono::seconds(Monit::kCycleSeconds));
    const auto now = clock.read();
    series.add(ms(now - before));
    before = now;
  }
  monit.expectHealthy();
}

}  // namespace

void measureTick(Scratch const& scratch, Watched const& watched, Variant variant, Patience patience,
                 Cost& cost) {
  FloorLoop floor(watched.pids);
  static_cast<void>(floor.pass());  // opens what it keeps open
  Veskd veskd = Veskd::watching(scratch, watched, variant);
  measurePasses(veskd.pid(), std::chrono::seconds(Veskd::kSampleSeconds), patience, cost, &floor);
  veskd.expectAlive();
}

void measureMonit(Scratch const& scratch, std::string const& program, Watched const& watched,
                  Patience patience, Cost& cost) {
  measureFirstSeconds(scratch, program, watched, cost.firstSeconds);
  Monit monit(scratch, program, watched);
  measurePasses(monit.pid(), std::chrono::seconds(Monit::kCycleSeconds), patience, cost);
  monit.expectHealthy();
}
