#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"

/// Interface identifier of the logger. Every lookup yields a logger of the
/// caller's own.
inline constexpr wchar_t ID_ILOGGER[] = L"com.telmor.vesk.logger";

/// How much a logger lets through, from everything to nothing.
enum LogLevelEnum { logDebug = 0, logInfo = 1, logError = 2, logOff = 3 };

/// Writes messages under one log name.
///
/// The logging operations take a wide `printf` format. "%ls" stands for wide
/// text and "%s" for narrow ASCII text. `category` belongs to the host; 0 is the
/// general one. They may be called from any thread, never throw, and return 0 or
/// a negative code when the message could not be formatted; a message below the
/// level in force is skipped and counts as success.
class ILogger : public IBase {
 public:
  /// Sets the log name, under which all later messages appear. Called before the
  /// first message. @return 0 or a negative code.
  virtual int init(PLiteral const& logName) = 0;

  /// Lets messages of `level` and above through, for this logger alone and never
  /// more than the host lets through. @return 0, or -EINVAL for no level.
  virtual int setLevel(LogLevelEnum level) = 0;

  /// The level in force.
  virtual LogLevelEnum getLevel() const = 0;

  /// Returns when what was logged has been handed to the operating system.
  /// @return 0 or a negative code.
  virtual int flush() = 0;

  /// Logs what an operator wants to see in normal operation.
  virtual int info(int category, const wchar_t* format, ...) = 0;

  /// Logs a failure.
  virtual int error(int category, const wchar_t* format, ...) = 0;

  /// Logs what only somebody who looks for a fault wants to see.
  virtual int debug(int category, const wchar_t* format, ...) = 0;
};
