#include "host/process/KnownProcesses.h"

#include <algorithm>
#include <utility>

#include "framework/PResult.h"

namespace {

using namespace std::chrono_literals;

constexpr auto kMemoryOfTheDead = 10min;
constexpr std::size_t kFirstSweep = 256;

}  // namespace

KnownProcesses::KnownProcesses(ProcessTree const& tree, IClock const& clock,
                               DescriptorBudget& budget, unsigned int ticksPerSecond)
    : fTree(tree),
      fClock(clock),
      fBudget(budget),
      fTicksPerSecond(ticksPerSecond),
      fSweepAt(kFirstSweep) {}

KnownProcesses::Process& KnownProcesses::at(unsigned int pid) {
  const auto known = fProcesses.find(pid);
  if (known != fProcesses.end()) return known->second;
  if (fProcesses.size() >= fSweepAt) tidyUp();
  Process process{{}, CpuMeter(fTicksPerSecond)};
  if (const auto gone = fGone.find(pid); gone != fGone.end()) {
    process.reading.sinceBoot = gone->second;
    process.isBound = process.isGone = true;
  }
  return fProcesses.try_emplace(pid, std::move(process)).first->second;
}

int KnownProcesses::bind(unsigned int pid, Meant const& isMeant, Process const*& process) {
  Process& known = at(pid);
  Process next{{}, CpuMeter(fTicksPerSecond)};
  int res = read(pid, known);
  // The number may have come to another, which takes it over only if it is meant:
  // whoever was given the number before must not reach that one by it.
  const bool isAnother = res == PResult::notFound && known.isBound;
  if (isAnother) res = read(pid, next);
  if (res != PResult::ok) return res;
  ProcessStat const& stat = (isAnother ? next : known).reading.stat;
  res = isMeant(pid, stat);
  if (res != PResult::ok) return res;
  if (isAnother) known = std::move(next);
  known.isBound = true;
  process = &known;
  return PResult::ok;
}

int KnownProcesses::ask(unsigned int pid, Question question, Process*& process) {
  Process& known = at(pid);
  const bool isAnswered = known.isBound && (known.unanswered & question) != 0 &&
                          fClock.sinceBoot() - known.reading.sinceBoot < kFreshness;
  const int res = isAnswered ? PResult::ok : read(pid, known);
  known.unanswered &= ~static_cast<unsigned int>(question);
  process = &known;
  return res;
}

int KnownProcesses::confirm(unsigned int pid, ProcessStat& stat) {
  Process& known = at(pid);
  const int res = read(pid, known);
  known.unanswered = 0;
  if (res != PResult::ok) return res;
  stat = known.reading.stat;
  if (stat.isDead()) return PResult::notFound;
  // Bound numbers are those of a process; others may be those of a thread.
  return known.isBound ? PResult::ok : fTree.confirmProcess(pid);
}

void KnownProcesses::recheck(std::vector<unsigned int> const& pids) {
  for (const unsigned int pid : pids) {
    const auto known = fProcesses.find(pid);
    if (known == fProcesses.end() || !known->second.statFile.isKept()) continue;
    ProcessStat ignored;
    static_cast<void>(readStat(pid, known->second, ignored));
  }
}

/// Reads the state of the process, or finds that a bound one is gone.
int KnownProcesses::read(unsigned int pid, Process& process) {
  process.unanswered = 0;
  ProcessStat stat;
  int res = readStat(pid, process, stat);
  if (res == PResult::ok && stat.state == 'Z' && !stat.isDead()) {
    res = lookThroughThread(pid, process, stat);
  }
  if (res != PResult::ok) return res;
  process.reading = {std::move(stat), fClock.monotonic(), fClock.sinceBoot()};
  process.isRead = true;
  process.unanswered = kAll;
  return PResult::ok;
}

int KnownProcesses::readStat(unsigned int pid, Process& process, ProcessStat& stat) {
  if (process.isGone) return PResult::notFound;
  std::string_view text;
  bool isSame = process.isRead;
  const bool wasKept = process.statFile.isKept();
  int res = process.statFile.read(fTree, pid, "stat", &fBudget, fBuffer, text);
  if (res == PResult::notFound && wasKept) {
    // That process is gone; the number may have come to another.
    process.statFile.close();
    isSame = false;
    if (!process.isBound) {
      res = process.statFile.read(fTree, pid, "stat", &fBudget, fBuffer, text);
    }
  }
  if (res == PResult::ok) res = ProcessTree::parseStat(text, stat);
  isSame = isSame && stat.startTicks == process.reading.stat.startTicks;
  return res == PResult::ok || res == PResult::notFound ? judge(process, res, isSame) : res;
}

/// What the outcome of a reading says about the number.
int KnownProcesses::judge(Process& process, int res, bool isSame) const {
  const bool isThere = res == PResult::ok;
  if (process.isBound && !(isThere && isSame)) {
    process.statFile.close();
    process.isGone = true;
    return PResult::notFound;
  }
  if (isThere && !isSame) process.cpuMeter = CpuMeter(fTicksPerSecond);
  return res;
}

/// A main thread that has ended has let go of the memory and moves no more; what
/// the process does shows in the others.
int KnownProcesses::lookThroughThread(unsigned int pid, Process& process, ProcessStat& stat) {
  ProcessStat thread;
  int res = fTree.readLivingThread(pid, thread);
  if (res != PResult::ok) return res;
  // Whose thread that was is certain only if the process is still there after it.
  res = readStat(pid, process, stat);
  stat.state = thread.state;
  stat.residentPages = thread.residentPages;
  return res;
}

/// Of those that are gone, no more is remembered than that; thousands of them may
/// have come and gone within ten minutes.
void KnownProcesses::tidyUp() {
  const auto now = fClock.sinceBoot();
  std::erase_if(fGone, [&](auto const& gone) { return now - gone.second >= kMemoryOfTheDead; });
  std::erase_if(fProcesses, [&](auto const& known) {
    auto const& [pid, process] = known;
    const bool isOld = now - process.reading.sinceBoot >= kMemoryOfTheDead;
    if (process.isGone && !isOld) fGone.insert_or_assign(pid, process.reading.sinceBoot);
    return process.isGone || (isOld && isDead(pid, process));
  });
  fSweepAt = std::max(kFirstSweep, 2 * fProcesses.size());
}

bool KnownProcesses::isDead(unsigned int pid, Process const& process) const {
  ProcessStat stat;
  const int res = fTree.readStat(pid, stat);
  return res == PResult::notFound ||
         (res == PResult::ok && stat.startTicks != process.reading.stat.startTicks);
}
