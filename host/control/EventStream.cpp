#include "host/control/EventStream.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/control/JsonViews.h"

namespace {

/// At a time, so that a reader that is too slow costs little memory.
constexpr std::size_t kMostRecords = 64;

constexpr std::chrono::seconds kPatience{1};

}  // namespace

EventStream::EventStream(std::shared_ptr<RecordJournal const> journal, std::uint64_t from,
                         Clock now)
    : fJournal(std::move(journal)),
      fNow(std::move(now)),
      fFrom(std::min(from, fJournal->next())),
      fSpokeAt(fNow()) {}

bool EventStream::next(std::string& text) {
  const bool isLast = fJournal->isClosed();
  const auto batch = fJournal->await(fFrom, kMostRecords, kPatience);
  fFrom = batch.next;
  if (batch.missed > 0) text += textOf({{"missed", batch.missed}}) + "\n";
  for (WatchRecord const& record : batch.records) text += textOf(recordJson(record)) + "\n";
  const auto now = fNow();
  if (text.empty() && now - fSpokeAt >= kSilence) text += '\n';
  if (!text.empty()) fSpokeAt = now;
  return !text.empty() || !isLast;
}
