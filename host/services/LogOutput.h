#pragma once

#include <spdlog/logger.h>

#include <atomic>
#include <memory>
#include <string>

#include "host/services/LogFormat.h"

/// Where the log goes and how much of it.
struct LogSettings {
  spdlog::level::level_enum level = spdlog::level::info;

  /// File to append to; empty for standard error.
  std::string file;

  /// Standard error is read by the journal, which has times of its own.
  bool isJournalOnStderr = false;
};

/// The one place that all loggers of this process write to. Any thread may use
/// it and the loggers; a line is with the operating system once it is logged.
///
/// A log that cannot be written any more (a full disk) is reported once on
/// standard error and stops nothing.
class LogOutput {
 public:
  /// Opens what the settings name.
  /// @return null, with the reason in `cause`, when the file cannot be opened.
  static std::shared_ptr<LogOutput> open(LogSettings const& settings, std::string& cause);

  /// Writes to `sink`, whose line layout it sets.
  LogOutput(spdlog::sink_ptr sink, spdlog::level::level_enum level,
            LogLayout layout = LogLayout::timed);

  /// A logger of the caller's own, under a log name of its own choice.
  std::shared_ptr<spdlog::logger> logger(std::string name) const;

  /// What any logger lets through at most.
  spdlog::level::level_enum level() const { return fLevel; }

 private:
  spdlog::sink_ptr fSink;
  spdlog::level::level_enum fLevel;
  std::shared_ptr<std::atomic<bool>> fFailureReported;
};
