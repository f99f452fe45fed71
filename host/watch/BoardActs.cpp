// What the watchdog does and publishes, as the board takes it down.

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PUtils.h"
#include "host/watch/WatchBoard.h"
#include "watchdog/IProcessWatchdog.h"

namespace {

constexpr const char* kUnknownReason = "reason not known to the host";

/// What is counted of an act, when it succeeds and when it fails.
struct ActTotals {
  RecordKind kind;
  std::uint64_t EntryTotals::*done;
  std::uint64_t EntryTotals::*failed;
};

constexpr std::array<ActTotals, 3> kActTotals = {{
    {RecordKind::kill, &EntryTotals::kills, &EntryTotals::failedKills},
    {RecordKind::start, &EntryTotals::starts, &EntryTotals::failedStarts},
    {RecordKind::osRestart, &EntryTotals::osRestarts, &EntryTotals::refusedOsRestarts},
}};

void count(ActUnderWay const& act, int result, EntryTotals& totals) {
  if (act.isPretended && result == PResult::ok) {
    ++totals.wouldHaves;
    return;
  }
  for (auto const& [kind, done, failed] : kActTotals) {
    if (kind == act.kind) ++(totals.*(result == PResult::ok ? done : failed));
  }
}

/// An event of the watchdog's.
struct Topic {
  std::wstring_view name;
  RecordKind kind;
  bool isAboutProcess;  ///< else about a number of instances
};

constexpr std::array<Topic, 3> kTopics = {{
    {kTopicCpuHigh, RecordKind::cpuHigh, true},
    {kTopicMemHigh, RecordKind::memHigh, true},
    {kTopicInstHigh, RecordKind::instHigh, false},
}};

std::string reasonOf(RecordKind kind, EntryMirror const& mirror, unsigned int pid) {
  switch (kind) {
    case RecordKind::cpuHigh:
      return mirror.reasonOfCpuEvent(pid);
    case RecordKind::memHigh:
      return mirror.reasonOfMemoryEvent(pid);
    default:
      return mirror.reasonOfInstanceEvent();
  }
}

}  // namespace

template <class Judge>
void WatchBoard::beginAct(RecordKind kind, std::optional<unsigned int> pid,
                          Judge&& judge) noexcept {
  const std::lock_guard lock(fMutex);
  ThreadPass* pass = fThreads.makeMine();
  if (pass == nullptr) return;
  pass->isInCall = true;
  pass->act = {kind, pid};
  static_cast<void>(pGuarded([&] {
    if (Watched* entry = turnOf(*pass)) {
      pass->act.reason = judge(entry->mirror);
      entry->noteReason(pass->act.reason);
    }
    return PResult::ok;
  }));
}

void WatchBoard::beginKill(unsigned int pid) noexcept {
  beginAct(RecordKind::kill, pid, [pid](EntryMirror& mirror) { return mirror.reasonToKill(pid); });
}

void WatchBoard::beginStart() noexcept {
  beginAct(RecordKind::start, std::nullopt,
           [](EntryMirror& mirror) { return mirror.reasonToStart(); });
}

void WatchBoard::beginRestart() noexcept {
  beginAct(RecordKind::osRestart, std::nullopt,
           [](EntryMirror& mirror) { return mirror.reasonToRestartSystem(); });
}

bool WatchBoard::isHeldBack(ThreadPass const* pass) const noexcept {
  const bool isEntryTold = pass != nullptr && pass->isEntryTold;
  if (fDryRun.all || !isEntryTold) return fDryRun.all || !fDryRun.names.empty();
  return fDryRun.names.contains(pass->entry);
}

bool WatchBoard::pretend(std::string& reason) noexcept {
  const std::lock_guard lock(fMutex);
  ThreadPass* pass = fThreads.mine();
  if (!isHeldBack(pass)) return false;
  if (pass == nullptr) return true;
  pass->act.isPretended = true;
  static_cast<void>(pGuarded([&] {
    reason = pass->act.reason;
    return PResult::ok;
  }));
  return true;
}

std::string WatchBoard::causeOfRestart() {
  const std::lock_guard lock(fMutex);
  ThreadPass const* pass = fThreads.mine();
  if (pass == nullptr || pass->act.reason.empty()) return "";
  return fmt::format("entry `{}': {}", pass->entry, pass->act.reason);
}

EntryTotals* WatchBoard::totalsFor(ThreadPass const& pass) {
  const auto found = pass.isEntryTold ? fEntries.find(pass.entry) : fEntries.end();
  return found != fEntries.end() ? &found->second.mirror.totals() : nullptr;
}

WatchRecord WatchBoard::recordOf(ThreadPass const& pass, int result,
                                 std::optional<unsigned int> pid) {
  ActUnderWay const& act = pass.act;
  WatchRecord record;
  record.time = fClock->wall();
  record.kind = act.kind;
  if (pass.isEntryTold) record.entry = pass.entry;
  record.pid = act.pid ? act.pid : pid;
  record.result = result;
  record.wouldHave = act.isPretended && result == PResult::ok;
  record.text = act.reason.empty() ? kUnknownReason : act.reason;
  return record;
}

void WatchBoard::endAct(int result, std::optional<unsigned int> pid) noexcept {
  static_cast<void>(pGuarded([&] {
    WatchRecord record;
    {
      const std::lock_guard lock(fMutex);
      ThreadPass* pass = fThreads.mine();
      if (pass == nullptr) return PResult::notFound;
      pass->isInCall = false;
      pass->ended = fClock->monotonic();
      if (Watched* entry = turnOf(*pass); entry != nullptr && pass->act.kind == RecordKind::kill) {
        entry->mirror.killed(result, pass->act.isPretended);
      }
      if (EntryTotals* totals = totalsFor(*pass)) count(pass->act, result, *totals);
      record = recordOf(*pass, result, pid);
    }
    if (fJournal) fJournal->append(std::move(record));
    return PResult::ok;
  }));
}

void WatchBoard::noteEvent(PLiteral const& topic, int value) noexcept {
  static_cast<void>(pGuarded([&] {
    WatchRecord record;
    record.time = fClock->wall();
    record.value = value;
    const auto* known = std::ranges::find(kTopics, std::wstring_view(topic.c_str()), &Topic::name);
    if (known == kTopics.end()) {
      record.text = PUtils::toUtf8(topic);
    } else {
      record.kind = known->kind;
      if (known->isAboutProcess) record.pid = static_cast<unsigned int>(value);
      noteWatchdogEvent(record);
    }
    if (fJournal) fJournal->append(std::move(record));
    return PResult::ok;
  }));
}

/// Adds what is known of an event from what its thread is at.
void WatchBoard::noteWatchdogEvent(WatchRecord& record) {
  const std::lock_guard lock(fMutex);
  ThreadPass* pass = fThreads.mine();
  if (pass == nullptr) return;
  pass->ended = fClock->monotonic();
  if (!pass->isEntryTold) return;
  record.entry = pass->entry;
  if (EntryTotals* totals = totalsFor(*pass)) ++totals->events;
  if (Watched* entry = turnOf(*pass)) {
    record.text = reasonOf(record.kind, entry->mirror, record.pid.value_or(0));
    entry->noteReason(record.text);
  }
  if (record.text.empty()) record.text = kUnknownReason;
}
