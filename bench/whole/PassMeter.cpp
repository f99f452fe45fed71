#include "bench/whole/PassMeter.h"

#include <stdexcept>

namespace {

using namespace std::chrono_literals;

constexpr auto kPollInterval = 20ms;
/// Work in one interval from which on a pass is under way: far less than any pass
/// over 2,000 processes, far more than a thread that wakes now and then.
constexpr std::chrono::nanoseconds kWork = 50us;
/// Work in most of a pause that cannot be such wake-ups any more.
constexpr std::chrono::nanoseconds kWorkInPause = 500us;
constexpr auto kPatience = 60s;

}  // namespace

PassMeter::PassMeter(pid_t pid, std::chrono::milliseconds pause)
    : fClock(pid), fPause(pause), fLastRead(fClock.read()) {}

bool PassMeter::poll() {
  sleepFor(kPollInterval);
  const auto before = fLastRead;
  fLastRead = fClock.read();
  return fLastRead - before >= kWork;
}

/// @return whether it was a pause up to here.
bool PassMeter::sleepThroughPause(std::function<void()> const& duringPause) {
  const auto before = fClock.read();
  sleepUntil(fEnd + fPause / 2);
  if (duringPause) duringPause();
  sleepUntil(fEnd + fPause * 4 / 5);
  fLastRead = fClock.read();
  return fLastRead - before < kWorkInPause;
}

SteadyTime PassMeter::awaitWork() {
  const SteadyTime patience = std::chrono::steady_clock::now() + kPatience;
  while (!poll()) {
    if (std::chrono::steady_clock::now() > patience) throw std::runtime_error("no pass comes");
  }
  return std::chrono::steady_clock::now();
}

SteadyTime PassMeter::awaitEndOfWork(SteadyTime begin) {
  // A pass that a busy machine keeps off its processor for less is still one pass.
  const auto over = fPause / 4;
  SteadyTime lastWork = begin;
  while (std::chrono::steady_clock::now() - lastWork < over) {
    if (poll()) lastWork = std::chrono::steady_clock::now();
  }
  return lastWork;
}

std::optional<Pass> PassMeter::awaitPass(std::function<void()> const& duringPause) {
  const bool isFirst = fEnd == SteadyTime{};
  const bool wasPause = !isFirst && sleepThroughPause(duringPause);
  const SteadyTime begin = awaitWork();
  const bool inTime = begin - fEnd < fPause * 3 / 2;
  const SteadyTime end = awaitEndOfWork(begin);

  const Pass pass{fLastRead - fCpuAtEnd, end - fEnd};
  fCpuAtEnd = fLastRead;
  fEnd = end;
  return wasPause && inTime ? std::optional(pass) : std::nullopt;
}
