#pragma once

#include <vector>

#include "framework/PApi.h"
#include "framework/PLiteral.h"

/// Finding, measuring, ending and starting processes of this machine.
///
/// A process is named by its pid. One that `find` or `start` handed out stands for
/// that very process: when its number has come to another, all operations answer
/// as for a process that is gone, until `find` hands the number out again; ten
/// minutes after it was last read, a number may be forgotten. Any other pid means
/// whoever bears it at the time of the call.
///
/// A pass over many programs sees one moment: `find` looks at the process table
/// once for all names, and what it read of a process answers one question of each
/// kind. Asked again for the same name, asked the same of the same process, or half
/// a second later, it looks anew. What `kill` and `start` change shows at once.
///
/// Results are those of `PResult`; -504 (`PResult::notFound`) always means that
/// there is no such process. All operations may be called from any thread; none
/// throws.
class VESK_API PProcess {
 public:
  PProcess() = delete;

  /// Lists the living processes of one name.
  ///
  /// The name is the one that the kernel keeps (`comm`): the file name of the
  /// program, cut to 15 bytes, or what the program made of it. A longer `name`
  /// is compared by its first 15 bytes and then has to be the base name of the
  /// executable or of one of the first three words of the command line: a script
  /// follows its interpreter and at most one option of that.
  ///
  /// A process that is dead but not yet reaped (a zombie without a living thread)
  /// is not listed; a stopped one is.
  ///
  /// @param pids filled with the processes, in ascending order.
  /// @param parentPids filled with the parent of each, at the same position.
  /// @return 0 with at least one process; -504 with empty lists when there is
  ///         none; another code when the process table could not be read, in
  ///         which case nothing is known about the name.
  static int find(PLiteral const& name, std::vector<unsigned int>& pids,
                  std::vector<unsigned int>& parentPids) noexcept;

  /// Reads how much processor time a process used.
  ///
  /// @param percent whole percent of one core since the previous reading of that
  ///        same process, or since its start for the first one. All threads are
  ///        added up, so it may pass 100. Readings that follow each other within
  ///        the accounting unit of the kernel (10 ms) repeat the previous value.
  ///        Untouched on failure.
  /// @return 0, -504, or another negative code.
  static int getCPUUsage(unsigned int pid, unsigned int& percent) noexcept;

  /// Reads the resident memory of a process.
  /// @param kib resident set in KiB, shared pages included. Untouched on failure.
  /// @return 0, -504, or another negative code.
  static int getMemoryUsage(unsigned int pid, unsigned long long& kib) noexcept;

  /// Tells whether a process can make progress.
  /// @param running true when running, sleeping, in uninterruptible sleep or
  ///        idle; false when stopped, traced, zombie or dead. Untouched on
  ///        failure.
  /// @return 0, -504, or another negative code.
  static int isRunning(unsigned int pid, bool& running) noexcept;

  /// Ends a process: SIGTERM at once, and SIGKILL for what is still there after
  /// the host's grace period. The call itself does not wait. Asked again for a
  /// process that is already being ended, it does nothing and succeeds.
  ///
  /// Pid 0, pid 1, the calling host and kernel threads are never signalled.
  ///
  /// @return 0 once the first signal is delivered; -504; -EPERM for a process
  ///         that must not or may not be signalled; another negative code.
  static int kill(unsigned int pid) noexcept;

  /// Starts a program, which outlives its host.
  ///
  /// First waits, no longer than the grace period and the moment that a SIGKILL
  /// takes, for the processes killed since the last `find`, so that a restart
  /// never runs beside what it replaces; if one of them will not go, nothing is
  /// started.
  ///
  /// The program runs in a session of its own, with an empty signal mask, default
  /// signal dispositions, umask 022, no descriptor of the host's, and the
  /// environment and limits that the host was configured to give.
  ///
  /// @param executable a path, or a bare name to be looked up in PATH.
  /// @param arguments split into words at blanks; single and double quotes and
  ///        the backslash work as in a shell; nothing is expanded and no shell
  ///        runs.
  /// @param workingDir empty for the host's own.
  /// @param pid the new process; untouched on failure.
  /// @return 0 when the program is running; -EINVAL for an empty executable or a
  ///         quote that is not closed; -EBUSY when an old instance will not end;
  ///         otherwise the negated errno for which it cannot be executed.
  static int start(PLiteral const& executable, PLiteral const& arguments,
                   PLiteral const& workingDir, unsigned int& pid) noexcept;
};
