#include "host/process/ProcessFinder.h"

#include <algorithm>

#include "framework/PResult.h"

namespace {

/// What the kernel keeps of a program's name.
constexpr std::size_t kCommLength = 15;

/// Names that nobody asks for any more are forgotten when there are so many.
constexpr std::size_t kMostNames = 4096;

}  // namespace

int ProcessFinder::lookIfDue(std::string const& name) {
  if (fAnsweredIn.size() >= kMostNames) fAnsweredIn.clear();
  unsigned long& answeredIn = fAnsweredIn[name];
  if (answeredIn == fLook || fClock.sinceBoot() - fLookedAt >= KnownProcesses::kFreshness) {
    ++fLook;
    fStarted.clear();
    fLookedAt = fClock.sinceBoot();
    fResult = PResult::outOfMemory;  // for the rest of the pass, should this throw
    fResult = fNames.look(fChanged);
    fKnown.recheck(fChanged);
    fLookedAt = fClock.sinceBoot();
  }
  // A program takes its name a moment after it is known to have been started.
  for (const unsigned int pid : fStarted) fNames.lookAt(pid);
  answeredIn = fLook;
  return fResult;
}

/// The processes that may bear the name, in ascending order.
ProcessFinder::Pids ProcessFinder::candidates(std::string const& name) const {
  Pids pids = fNames.bearing(name);
  if (name.size() <= kCommLength) return pids;
  Pids const& cut = fNames.bearing(name.substr(0, kCommLength));
  const auto middle = pids.insert(pids.end(), cut.begin(), cut.end());
  std::inplace_merge(pids.begin(), middle, pids.end());
  return pids;
}

int ProcessFinder::confirmName(unsigned int pid, ProcessStat const& stat, std::string const& name) {
  if (stat.isDead()) return PResult::notFound;
  const std::string_view kept = std::string_view(name).substr(0, kCommLength);
  std::string comm = stat.comm;
  if (comm != name && comm != kept) {
    // It took another name since the look, or one that this kernel escapes here.
    fNames.lookAt(pid);
    if (const int res = fTree.readComm(pid, comm); res != PResult::ok) return res;
  }
  if (comm == name) return PResult::ok;
  return comm == kept ? fTree.confirmExecutedAs(pid, name) : PResult::notFound;
}

int ProcessFinder::find(std::string const& name, Pids& pids, Pids& parentPids) {
  pids.clear();
  parentPids.clear();
  int res = lookIfDue(name);
  if (res != PResult::ok) return res;
  const auto isMeant = [this, &name](unsigned int pid, ProcessStat const& stat) {
    return confirmName(pid, stat, name);
  };
  for (const unsigned int pid : candidates(name)) {
    KnownProcesses::Process const* process = nullptr;
    res = fKnown.bind(pid, isMeant, process);
    if (ProcessTree::isNobody(res)) continue;
    if (res != PResult::ok) {
      pids.clear();
      parentPids.clear();
      return res;
    }
    pids.push_back(pid);
    parentPids.push_back(process->reading.stat.parentPid);
  }
  return pids.empty() ? PResult::notFound : PResult::ok;
}
