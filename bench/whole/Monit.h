#pragma once

#include <string>
#include <vector>

#include "bench/whole/Child.h"
#include "bench/whole/Population.h"
#include "bench/whole/Scratch.h"

/// monit in the foreground, on a control file of the benchmark's own.
class Monit {
 public:
  static constexpr unsigned int kCycleSeconds = 2;

  /// Where the program is; empty if it is not installed.
  static std::string findProgram();

  /// What `monit --version` calls itself; empty if it cannot be run.
  static std::string version(Scratch const& scratch, std::string const& program);

  /// Watches a process of every name, with a processor and a memory test each that
  /// never trigger. @throws std::runtime_error
  Monit(Scratch const& scratch, std::string const& program, Watched const& watched);

  pid_t pid() const { return fProcess.pid(); }

  /// @throws std::runtime_error with its log if it has ended or misses a process.
  void expectHealthy();

 private:
  std::string fLog;
  Child fProcess;
};
