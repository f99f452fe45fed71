#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "host/watch/WatchRecord.h"

/// The most recent records, numbered from 1. Whoever writes never waits for a
/// reader: the oldest records go, and a reader that was too slow is told how many
/// it missed. Any thread may call.
class RecordJournal {
 public:
  static constexpr std::size_t kCapacity = 1024;

  explicit RecordJournal(std::size_t capacity = kCapacity);

  /// Gives the record its number. Where memory runs out the record is lost, and
  /// its number shows that.
  void append(WatchRecord record) noexcept;

  struct Batch {
    std::vector<WatchRecord> records;  ///< in ascending order
    std::uint64_t missed = 0;          ///< between `from` and the first of them
    std::uint64_t next = 1;            ///< where to go on
  };

  /// What is kept from the number `from` on, the oldest first.
  Batch read(std::uint64_t from, std::size_t atMost) const;

  /// As `read`, but waits until there is something, or time is over, or `close`.
  Batch await(std::uint64_t from, std::size_t atMost, std::chrono::milliseconds patience) const;

  /// The number of the next record.
  std::uint64_t next() const;

  /// Wakes all who wait; nobody waits from then on.
  void close();
  bool isClosed() const;

 private:
  Batch take(std::uint64_t from, std::size_t atMost) const;

  std::size_t fCapacity;
  mutable std::mutex fMutex;  ///< guards what follows
  mutable std::condition_variable fGrown;
  std::deque<WatchRecord> fRecords;  ///< in ascending order; a lost one is left out
  std::uint64_t fNext = 1;
  bool fIsClosed = false;
};
