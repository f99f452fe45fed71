#pragma once

#include "framework/IBase.h"
#include "framework/PString.h"
#include "watchdog/ProcessWatchdogAction.h"

/// The read-only view of an entry: one monitored program and its limits.
///
/// The order of the operations is a binary contract.
class IProcessWatchdogInfo : public IBase {
 public:
  /// The unique name: key of the registry and name of the processes looked for.
  virtual void getName(PString& name) const = 0;

  /// Length of the averaging window of CPU and memory, in seconds.
  virtual unsigned int getPeriod() const = 0;

  /// Whether the CPU check is on.
  virtual bool getCpuEnabled() const = 0;

  /// CPU limit in percent of one core, 0 to 255: the value is an unsigned one,
  /// as `char` is on the target.
  virtual char getCpuLimit() const = 0;

  /// Whether the memory check is on.
  virtual bool getMemEnabled() const = 0;

  /// Memory limit, in the unit of `PProcess::getMemoryUsage` (KiB).
  virtual unsigned long long getMemLimit() const = 0;

  /// Whether the check for too many instances is on.
  virtual bool getInstEnabled() const = 0;

  /// The count of instances that is already too many.
  virtual unsigned int getInstLimit() const = 0;

  /// Whether the program is started when too few instances run.
  virtual bool getRespawnEnabled() const = 0;

  /// The least number of instances. A negative one stands for the largest number
  /// there is, so that the program is started at every sample.
  virtual int getRespawnLimit() const = 0;

  /// Whether a process whose parent is an instance does not count as one.
  virtual bool getShouldCountOnlyDiffParents() const = 0;

  /// Whether a process that is stopped or dead does not count as an instance.
  virtual bool getShouldCountOnlyRunning() const = 0;

  /// Whether a reached limit publishes an event.
  virtual bool getShouldSendEvent() const = 0;

  /// What a reached limit leads to.
  virtual ProcessWatchdogActionEnum getAction() const = 0;

  /// The program that respawn and restart start.
  virtual void getExecutable(PString& executable) const = 0;

  /// Its arguments, as `PProcess::start` takes them.
  virtual void getArguments(PString& arguments) const = 0;

  /// Its working directory.
  virtual void getWorkingDir(PString& workingDir) const = 0;
};
