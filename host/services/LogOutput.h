#pragma once

#include <spdlog/logger.h>

#include <functional>
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
/// A log that cannot be written any more (a full disk, a reader that does not read)
/// stops nothing. How many lines are lost is told when it can be written again, and
/// that lines of a file are lost, at once on standard error.
class LogOutput {
 public:
  /// Opens what the settings name.
  /// @return null, with the reason in `cause`, when the file cannot be opened.
  static std::shared_ptr<LogOutput> open(LogSettings const& settings, std::string& cause);

  /// Told of a line that could not be made.
  using Failure = std::function<void(std::string const& cause)>;

  /// Writes to `sink`, whose line layout it sets.
  LogOutput(spdlog::sink_ptr sink, spdlog::level::level_enum level,
            LogLayout layout = LogLayout::timed, Failure onFailure = {});

  /// A logger of the caller's own, under a log name of its own choice.
  std::shared_ptr<spdlog::logger> logger(std::string name) const;

  /// The same, for what may fail at every pass: an error that is repeated is held
  /// back, and counted.
  std::shared_ptr<spdlog::logger> repetitiveLogger(std::string name) const;

  /// What any logger lets through at most.
  spdlog::level::level_enum level() const { return fLevel; }

 private:
  std::shared_ptr<spdlog::logger> make(std::string name, spdlog::sink_ptr sink) const;

  spdlog::sink_ptr fSink;
  spdlog::sink_ptr fWithoutRepeats;
  spdlog::level::level_enum fLevel;
  Failure fOnFailure;
};
