// Why the watchdog does what it does, told from the mirror of its memory.

#include <fmt/format.h>

#include <algorithm>

#include "framework/PResult.h"
#include "host/watch/EntryMirror.h"
#include "host/watch/LimitTexts.h"

std::string EntryMirror::cpuText(Process const& process) const {
  Window const& window = process.window;
  return averageText(kCpuQuantity, window.cpuSum / window.samples, fSettings.cpuLimit,
                     window.samples);
}

std::string EntryMirror::memoryText(Process const& process) const {
  Window const& window = process.window;
  return averageText(kMemoryQuantity, window.memorySum / window.samples, fSettings.memLimit,
                     window.samples);
}

bool EntryMirror::isCpuReached(Process const& process) const {
  return fGlobals.cpuEnabled && fSettings.cpuEnabled && isOver(process) &&
         process.window.cpuSum / process.window.samples >= fSettings.cpuLimit;
}

bool EntryMirror::isMemoryReached(Process const& process) const {
  return fGlobals.memEnabled && fSettings.memEnabled && isOver(process) &&
         process.window.memorySum / process.window.samples >= fSettings.memLimit;
}

unsigned int EntryMirror::counted() const {
  return static_cast<unsigned int>(std::ranges::count_if(
      fProcesses, [](Process const& each) { return each.isBegun && each.seen.counts; }));
}

bool EntryMirror::isInstanceLimitReached() const {
  return fIsKnown && fGlobals.instEnabled && fSettings.instEnabled &&
         counted() >= fSettings.instLimit;
}

/// What comes next in the watchdog's order, and has not been acted on yet.
/// @param pid of the process that is acted on; none for the whole system.
std::pair<EntryMirror::Cause, std::string> EntryMirror::judgeNext(std::optional<unsigned int> pid) {
  Process* process = current();
  if (process != nullptr && (!pid || process->seen.pid == *pid)) {
    if (!process->isCpuActedOn && isCpuReached(*process)) {
      process->isCpuActedOn = true;
      return {Cause::cpu, cpuText(*process)};
    }
    if (!process->isMemoryActedOn && isMemoryReached(*process)) {
      process->isCpuActedOn = process->isMemoryActedOn = true;
      return {Cause::memory, memoryText(*process)};
    }
  }
  settle();
  if (!isInstanceLimitReached()) return {Cause::unknown, ""};
  return {Cause::instances, tooManyText(counted(), fSettings.instLimit)};
}

std::string EntryMirror::reasonToKill(unsigned int pid) {
  auto [cause, reason] = judgeNext(pid);
  const bool isNext = cause == Cause::instances && fLastKill.cause == cause;
  const unsigned int count = isNext ? fLastKill.count + 1 : 1;
  fLastKill = {cause, std::move(reason), pid, count};
  return fLastKill.reason;
}

std::string EntryMirror::restartReason() const {
  const bool isOne = fLastKill.count == 1;
  const std::string whom = isOne ? fmt::format("process {}", fLastKill.pid)
                                 : fmt::format("{} processes", fLastKill.count);
  const char* was = fLastKill.isPretended ? "would have been" : isOne ? "was" : "were";
  return fmt::format("restart: {} {} ended just before: {}", whom, was, fLastKill.reason);
}

std::string EntryMirror::reasonToStart() {
  const bool isRestart = fSettings.action == "restart";
  const bool isAfterKill = fLastKill.cause == Cause::instances ||
                           (fLastKill.cause != Cause::unknown && fLastKill.result == PResult::ok);
  if (isRestart && isAfterKill) {
    std::string reason = restartReason();
    fLastKill = {};
    return reason;
  }
  settle();
  if (fIsKnown && fGlobals.instEnabled && fSettings.respawnEnabled &&
      isTooFew(counted(), fSettings.respawnLimit)) {
    return tooFewText(counted(), fSettings.respawnLimit);
  }
  if (!isRestart || !isInstanceLimitReached()) return "";
  return "restart: " + tooManyText(counted(), fSettings.instLimit);
}

std::string EntryMirror::reasonToRestartSystem() {
  Process const* process = current();
  const auto [cause, reason] = judgeNext(std::nullopt);
  if (cause != Cause::cpu && cause != Cause::memory) return reason;
  return fmt::format("process {}: {}", process->seen.pid, reason);
}

std::string EntryMirror::reasonOfCpuEvent(unsigned int pid) const {
  Process const* process = processOf(pid);
  return process != nullptr && isCpuReached(*process) ? cpuText(*process) : "";
}

std::string EntryMirror::reasonOfMemoryEvent(unsigned int pid) const {
  Process const* process = processOf(pid);
  return process != nullptr && isMemoryReached(*process) ? memoryText(*process) : "";
}

std::string EntryMirror::reasonOfInstanceEvent() const {
  return isInstanceLimitReached() ? tooManyText(counted(), fSettings.instLimit) : "";
}
