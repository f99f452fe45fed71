#pragma once

#include <spdlog/logger.h>

#include <functional>
#include <memory>
#include <string>

#include "framework/IOSRestart.h"
#include "host/RefCounted.h"

/// What an operating-system restart is made with.
struct RestartMeans {
  /// Command line that restarts the system; empty for the kernel's own restart.
  std::string command;

  /// Starts a command line without waiting for it; 0 and its pid, or a negative
  /// code.
  std::function<int(std::string const& commandLine, unsigned int& pid)> run;

  /// Restarts at once; returns only when that failed, with a negative code.
  std::function<int()> restartKernel;

  /// Whether this process may restart the kernel.
  bool isRoot = false;
};

/// Restarts the operating system: by the configured command, whose own rights
/// decide, or else by the kernel, if the host is root. Each request is logged.
class OsRestart : public RefCounted<IOSRestart> {
 public:
  OsRestart(RestartMeans means, std::shared_ptr<spdlog::logger> log);

  int restart(int mode) override;

 private:
  ~OsRestart() override = default;

  int runCommand() const;
  int restartKernel() const;

  RestartMeans fMeans;
  std::shared_ptr<spdlog::logger> fLog;
};

/// Writes what is in memory to the disks and restarts the machine at once,
/// without ending its programs.
/// @return a negated errno; there is no return from success.
int restartThisMachine();
