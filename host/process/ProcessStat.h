#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What the kernel says about a process, or about one of its threads, in `stat`.
struct ProcessStat {
  std::string comm;  ///< its name, in which some kernels escape odd characters
  char state = '?';  ///< the kernel's letter for its state
  unsigned int parentPid = 0;
  unsigned int flags = 0;
  unsigned long long cpuTicks = 0;    ///< time in user and kernel mode, clock ticks
  unsigned int threadCount = 0;       ///< living threads, a dead main thread included
  unsigned long long startTicks = 0;  ///< when it started, clock ticks since boot
  unsigned long long residentPages = 0;

  /// Whether nothing of the process runs any more. A main thread that has ended
  /// shows as a zombie, but is not dead while other threads of it live.
  bool isDead() const;

  /// Whether the state is one that can make progress.
  bool isRunning() const;

  /// Whether this is a thread of the kernel's own.
  bool isKernelThread() const;
};

/// Reads the text of a `stat` file. The name in it may hold anything, closing
/// parentheses and newlines included.
/// @return nothing when the text is not that of a `stat` file.
std::optional<ProcessStat> parseProcessStat(std::string_view text);
