#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/watch/RecordJournal.h"

/// Records as lines of JSON, as they come. One thread at a time.
class EventStream {
 public:
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  /// After so long without anything else comes an empty line.
  static constexpr std::chrono::seconds kSilence{15};

  /// @param from the first record; beyond the next one stands for the next one.
  EventStream(std::shared_ptr<RecordJournal const> journal, std::uint64_t from, Clock now);

  /// Waits a second at most for the next lines. @return false when the journal is
  /// closed and all of it was told.
  bool next(std::string& text);

 private:
  const std::shared_ptr<RecordJournal const> fJournal;
  Clock fNow;
  std::uint64_t fFrom;
  std::chrono::steady_clock::time_point fSpokeAt;
};
