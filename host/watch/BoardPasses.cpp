// When a pass begins, when it is over, and which of them are the watchdog's.

#include <algorithm>

#include "host/watch/WatchBoard.h"

namespace {

void addDuration(ThreadPass const& pass, PassView& view) {
  view.last = pass.ended - pass.begun;
  view.longest = std::max(view.longest, view.last);
}

}  // namespace

/// Whether a pass that paused goes on with this name: an entry of before that it did
/// not come to yet. One that is new may well be the first of the next pass.
bool WatchBoard::isStillToLookFor(ThreadPass const& pass, std::string const& name) const {
  const auto found = fEntries.find(name);
  return found != fEntries.end() && found->second.mirror.isKnown() &&
         found->second.knownSince < fPass.count && !pass.names.contains(name);
}

void WatchBoard::beginPass(ThreadPass& pass, std::chrono::microseconds now) {
  if (pass.isOpen) closePass(pass, now);
  pass.names.clear();
  pass.begun = now;
  pass.isOpen = true;
  if (!isWatchdog(pass)) return;
  ++fPass.count;
  fPass.begunAt = fClock->wall();
}

void WatchBoard::closePass(ThreadPass& pass, std::chrono::microseconds now) {
  constexpr unsigned int kSamples = 5;
  constexpr std::chrono::seconds kLeast{10};
  sumUp(pass);
  if (isWatchdog(pass)) {
    std::erase_if(fEntries,
                  [this](auto const& each) { return each.second.isForgotten(fLastWholePass); });
  } else if (ThreadPass* leader = fThreads.leader(); leader->isIdle(now)) {
    sumUp(*leader);
  }
  const std::chrono::seconds samples{static_cast<long long>(kSamples) * fGlobals.sampleTime};
  fThreads.elect(pass, now, std::max(kLeast, samples));
}

/// Takes a pass for whole. May be done again when it went on after all.
void WatchBoard::sumUp(ThreadPass& pass) {
  pass.knownNames = static_cast<std::size_t>(std::ranges::count_if(fEntries, [&](auto const& each) {
    return each.second.mirror.isKnown() && pass.names.contains(each.first);
  }));
  if (!isWatchdog(pass)) return;
  addDuration(pass, fPass);
  fLastWholePass = fPass.count;
}

/// Whether the watchdog's pass seems to be over, which shows only by the pause after it.
bool WatchBoard::isPassOver(std::chrono::microseconds now) const {
  ThreadPass const* pass = fThreads.leader();
  return pass != nullptr && pass->isIdle(now);
}

PassView WatchBoard::passAt(std::chrono::microseconds now) const {
  PassView view = fPass;
  ThreadPass const* pass = fThreads.leader();
  if (pass == nullptr) return view;
  view.isUnderWay = pass->isInCall;
  if (view.isUnderWay) view.underWay = now - pass->begun;
  if (pass->isIdle(now)) addDuration(*pass, view);
  return view;
}

std::uint64_t WatchBoard::lastWholePass(std::chrono::microseconds now) const {
  return isPassOver(now) ? fPass.count : fLastWholePass;
}
