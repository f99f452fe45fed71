#include "host/watch/RecordJournal.h"

#include <algorithm>
#include <new>
#include <utility>

RecordJournal::RecordJournal(std::size_t capacity) : fCapacity(capacity) {}

void RecordJournal::append(WatchRecord record) noexcept {
  const std::lock_guard lock(fMutex);
  record.number = fNext++;
  try {
    fRecords.push_back(std::move(record));
    if (fRecords.size() > fCapacity) fRecords.pop_front();
  } catch (std::bad_alloc const&) {
    // The gap in the numbers tells the readers.
  }
  fGrown.notify_all();
}

RecordJournal::Batch RecordJournal::take(std::uint64_t from, std::size_t atMost) const {
  Batch batch;
  from = std::clamp<std::uint64_t>(from, 1, fNext);
  const auto first = std::ranges::lower_bound(fRecords, from, {}, &WatchRecord::number);
  const auto kept = static_cast<std::size_t>(fRecords.end() - first);
  const auto last = first + static_cast<std::ptrdiff_t>(std::min(kept, atMost));
  batch.records.assign(first, last);
  batch.next = last != fRecords.end() ? last->number : fNext;
  batch.missed = batch.next - from - batch.records.size();
  return batch;
}

RecordJournal::Batch RecordJournal::read(std::uint64_t from, std::size_t atMost) const {
  const std::lock_guard lock(fMutex);
  return take(from, atMost);
}

RecordJournal::Batch RecordJournal::await(std::uint64_t from, std::size_t atMost,
                                          std::chrono::milliseconds patience) const {
  std::unique_lock lock(fMutex);
  fGrown.wait_for(lock, patience, [this, from] { return fIsClosed || fNext > from; });
  return take(from, atMost);
}

std::uint64_t RecordJournal::next() const {
  const std::lock_guard lock(fMutex);
  return fNext;
}

void RecordJournal::close() {
  const std::lock_guard lock(fMutex);
  fIsClosed = true;
  fGrown.notify_all();
}

bool RecordJournal::isClosed() const {
  const std::lock_guard lock(fMutex);
  return fIsClosed;
}
