#include "host/process/ProcessNames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <utility>

#include "framework/PResult.h"

namespace {

/// Even with a kernel that reports every change, the whole table is read again
/// after so many looks: the dead who were reaped are still on the account, and an
/// error in it must not last for years.
constexpr unsigned int kLooksBetweenScans = 256;

/// When so many looks in a row lost events, more happens between two looks than
/// the kernel can hold: reading the names on kept descriptors is cheaper then, and
/// listening is tried again when the whole table would have been read.
constexpr unsigned int kMostLosses = 8;

/// Longer than any name that the kernel keeps.
constexpr std::size_t kNameSize = 256;

}  // namespace

ProcessNames::ProcessNames(ProcessTree const& tree, DescriptorBudget& budget, ListenToEvents listen)
    : fTree(tree), fBudget(budget), fListen(std::move(listen)) {}

int ProcessNames::look(Pids& changed) {
  changed.clear();
  // Until this look has come to its end, nothing is known.
  const bool wasWhole = std::exchange(fIsWhole, false);
  const int confirmed = fTree.confirmTable();
  if (confirmed != PResult::ok) return confirmed;
  try {
    const bool canFollow = takeEvents() && wasWhole && fLooksSinceScan < kLooksBetweenScans &&
                           fHappenedTo.size() <= fProcesses.size();
    const int res = canFollow ? follow(changed) : scan(changed);
    fIsWhole = res == PResult::ok;
    return res;
  } catch (...) {
    forgetAll();
    throw;
  }
}

void ProcessNames::lookAt(unsigned int pid) noexcept {
  try {
    Pids ignored;
    // What cannot be read now is read at the next look.
    if (examine(pid, ignored) != PResult::ok) fIsWhole = false;
  } catch (...) {
    forgetAll();
  }
}

/// Half an account is worse than none.
void ProcessNames::forgetAll() noexcept {
  fIsWhole = false;
  fProcesses.clear();
  fBearers.clear();
}

ProcessNames::Pids const& ProcessNames::bearing(std::string const& comm) const {
  static const Pids kNobody;
  const auto bearers = fBearers.find(comm);
  return bearers != fBearers.end() ? bearers->second : kNobody;
}

/// @return whether all that happened since the last look is known.
bool ProcessNames::takeEvents() {
  fHappenedTo.clear();
  if (fEvents == nullptr) {
    listenNowAndThen();
    return false;
  }
  const bool isWhole = fEvents->take(fHappenedTo);
  fLossesInARow = isWhole ? 0 : fLossesInARow + 1;
  if (fLossesInARow >= kMostLosses) fEvents.reset();
  return isWhole;
}

void ProcessNames::listenNowAndThen() {
  if (fListen == nullptr || fLooksDeaf++ % kLooksBetweenScans != 0) return;
  fLossesInARow = 0;
  fEvents = fListen();
}

int ProcessNames::follow(Pids& changed) {
  ++fLooksSinceScan;
  std::sort(fHappenedTo.begin(), fHappenedTo.end());
  const auto end = std::unique(fHappenedTo.begin(), fHappenedTo.end());
  fHappenedTo.erase(end, fHappenedTo.end());
  int res = PResult::ok;
  for (const unsigned int pid : fHappenedTo) {
    const int examined = examine(pid, changed);
    if (examined != PResult::ok) res = examined;
  }
  return res;
}

int ProcessNames::scan(Pids& changed) {
  fLooksSinceScan = 0;
  Pids pids;
  int res = fTree.listPids(pids);
  if (res != PResult::ok) return res == PResult::notFound ? -ENOENT : res;

  Processes next;
  next.reserve(pids.size());
  auto known = fProcesses.begin();
  const auto drop = [&] {
    removeName(*known);
    changed.push_back(known->pid);
    ++known;
  };
  for (const unsigned int pid : pids) {
    while (known != fProcesses.end() && known->pid < pid) drop();
    const bool isKnown = known != fProcesses.end() && known->pid == pid;
    Named process = isKnown ? std::move(*known++) : Named{pid};
    const int updated = update(process, changed);
    if (ProcessTree::isNobody(updated)) continue;
    if (updated != PResult::ok) res = updated;
    next.push_back(std::move(process));
  }
  while (known != fProcesses.end()) drop();
  fProcesses = std::move(next);
  return res;
}

/// Looks at one process alone.
int ProcessNames::examine(unsigned int pid, Pids& changed) {
  const auto position = positionOf(pid);
  const bool isKnown = position != fProcesses.end() && position->pid == pid;
  Named added{pid};
  const int res = update(isKnown ? *position : added, changed);
  if (ProcessTree::isNobody(res)) {
    if (isKnown) fProcesses.erase(position);
    return PResult::ok;
  }
  if (!isKnown && res == PResult::ok) fProcesses.insert(position, std::move(added));
  return res;
}

int ProcessNames::readName(Named& process, std::string& comm) {
  // Of processes on which the kernel reports, a name is read once or twice only.
  const bool isKept = fEvents == nullptr;
  DescriptorBudget* const budget = isKept ? &fBudget : nullptr;
  std::array<char, kNameSize> buffer{};
  std::string_view text;
  const bool wasKept = process.file.isKept();
  int res = process.file.read(fTree, process.pid, "comm", budget, buffer, text);
  if (res == PResult::notFound && wasKept) {
    // Gone; but its number may have come to another process.
    process.file.close();
    res = process.file.read(fTree, process.pid, "comm", budget, buffer, text);
  }
  if (!isKept) process.file.close();
  if (res != PResult::ok) return res;
  comm = ProcessTree::nameIn(text);
  return PResult::ok;
}

/// Brings the name of a process up to date, or takes it away.
int ProcessNames::update(Named& process, Pids& changed) {
  std::string comm;
  const int res = readName(process, comm);
  const bool isGone = ProcessTree::isNobody(res);
  if (res != PResult::ok && !isGone) return res;
  if (res == PResult::ok && comm == process.comm) return PResult::ok;
  if (!process.comm.empty()) changed.push_back(process.pid);
  removeName(process);
  process.comm = isGone ? std::string() : std::move(comm);
  if (!isGone) addName(process);
  return res;
}

void ProcessNames::addName(Named const& process) {
  Pids& bearers = fBearers[process.comm];
  bearers.insert(std::lower_bound(bearers.begin(), bearers.end(), process.pid), process.pid);
}

void ProcessNames::removeName(Named const& process) {
  const auto named = fBearers.find(process.comm);
  if (named == fBearers.end()) return;
  Pids& bearers = named->second;
  bearers.erase(std::remove(bearers.begin(), bearers.end(), process.pid), bearers.end());
  if (bearers.empty()) fBearers.erase(named);
}

ProcessNames::Processes::iterator ProcessNames::positionOf(unsigned int pid) {
  return std::lower_bound(
      fProcesses.begin(), fProcesses.end(), pid,
      [](Named const& process, unsigned int number) { return process.pid < number; });
}
