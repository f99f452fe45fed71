#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/watch/WatchView.h"

/// What a record is about.
enum class RecordKind {
  cpuHigh,       ///< an event that the watchdog published; its value is a pid
  memHigh,       ///< likewise
  instHigh,      ///< likewise; its value is the number of instances
  otherEvent,    ///< an event of any other topic
  kill,          ///< a process was asked to end
  start,         ///< a program was started
  osRestart,     ///< the operating system was to be restarted
  entryAdded,    ///< by the control API
  entryRemoved,  ///< likewise
  reload,        ///< of the configuration
};

/// One thing that happened: an event, an act, or a change of what is watched.
struct WatchRecord {
  std::uint64_t number = 0;  ///< from 1 without a gap; given by the journal
  WallTime time{};
  RecordKind kind = RecordKind::otherEvent;
  std::string entry;                ///< name; empty when it is about no entry
  std::optional<unsigned int> pid;  ///< of the process acted upon or started
  std::optional<long long> value;   ///< of an event
  int result = 0;                   ///< of an act or a change; 0 or a negative code
  bool wouldHave = false;           ///< held back by a dry run
  std::string text;                 ///< for people, with all the numbers that led to it
};

/// The word for a kind in the API: "cpu_high", "kill", "os_restart".
const char* nameOf(RecordKind kind);
