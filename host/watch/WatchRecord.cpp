#include "host/watch/WatchRecord.h"

#include <array>

const char* nameOf(RecordKind kind) {
  // In the order of the kinds.
  static constexpr std::array<const char*, 10> kNames = {
      "cpu_high", "mem_high",   "inst_high",   "event",         "kill",
      "start",    "os_restart", "entry_added", "entry_removed", "reload"};
  return kNames.at(static_cast<std::size_t>(kind));
}
