#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/process/ProcessStat.h"
#include "host/process/UniqueFd.h"

/// Reads the process table below the folder where it is mounted.
///
/// Every operation returns 0, `PResult::notFound` for a process that does not
/// exist (any more), or the negated errno of the call that failed. Nothing is
/// kept between calls; any thread may call.
class ProcessTree {
 public:
  /// @param witness a process that the table must show; 0 for none.
  explicit ProcessTree(std::string root, unsigned int witness = 0)
      : fRoot(std::move(root)), fWitness(witness) {}

  /// Whether the table is there.
  /// @return 0 or the negated errno for which its witness does not show.
  int confirmTable() const;

  /// Whether a result says that there is no such process. One of another user may
  /// be hidden, which is as good as not there.
  static bool isNobody(int res);

  /// All processes, in ascending order.
  int listPids(std::vector<unsigned int>& pids) const;

  /// Opens a file in the folder of a process.
  int open(unsigned int pid, const char* file, UniqueFd& fd) const;

  /// Reads an open file from its beginning, as much as one read of it yields.
  /// @param text set to what was read, inside `buffer`.
  static int readFront(int fd, std::span<char> buffer, std::string_view& text);

  /// The name that the kernel keeps, any bytes but a null.
  int readComm(unsigned int pid, std::string& comm) const;

  /// The name in the text of `comm`: one newline ends it, any other is part of it.
  static std::string_view nameIn(std::string_view text);

  static int parseStat(std::string_view text, ProcessStat& stat);

  int readStat(unsigned int pid, ProcessStat& stat) const;

  /// As `readStat`, but a process that is dead and not yet reaped counts as one
  /// that does not exist.
  int readLiving(unsigned int pid, ProcessStat& stat) const;

  /// Whether the number is that of a process: one of its threads, which have
  /// entries of their own that no listing shows, is not found.
  int confirmProcess(unsigned int pid) const;

  /// The state of a thread that lives while the main thread of `pid` does not.
  int readLivingThread(unsigned int pid, ProcessStat& stat) const;

  /// Whether a process was executed under a base name: that of its executable,
  /// where it may be read, or of one of the first three words of the command line:
  /// an interpreted script comes after its interpreter and at most one option of
  /// that. Under another it is not found.
  int confirmExecutedAs(unsigned int pid, std::string_view name) const;

 private:
  std::string path(unsigned int pid, std::string_view file) const;
  static int readStatFile(std::string const& path, ProcessStat& stat);

  std::string fRoot;
  unsigned int fWitness;
};
