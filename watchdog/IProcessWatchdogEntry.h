#pragma once

#include "framework/PLiteral.h"
#include "watchdog/IProcessWatchdogInfo.h"

/// A monitored program that can be set up; see `IProcessWatchdogInfo` for the
/// meaning and the unit of each setting.
///
/// The setters store what they are given and check nothing. Any thread may call
/// them, also while the watchdog watches the entry: each setting changes as a whole
/// and counts from the next sample on, but a sample under way may see one change and
/// not yet another. To change what belongs together, such as a program and its
/// arguments, take the entry out of the watchdog, change it, and add it again. The
/// registry keeps the name under which the entry was added; a later one is what
/// processes are looked for by. A text that cannot be copied for want of memory stays
/// as it was.
class IProcessWatchdogEntry : public IProcessWatchdogInfo {
 public:
  virtual void setName(PLiteral const& name) = 0;
  virtual void setPeriod(unsigned int seconds) = 0;
  virtual void setCpuEnabled(bool enabled) = 0;
  virtual void setCpuLimit(char percent) = 0;
  virtual void setMemEnabled(bool enabled) = 0;
  virtual void setMemLimit(unsigned long long kib) = 0;
  virtual void setInstEnabled(bool enabled) = 0;
  virtual void setInstLimit(unsigned int count) = 0;
  virtual void setRespawnEnabled(bool enabled) = 0;
  virtual void setRespawnLimit(int count) = 0;
  virtual void setShouldCountOnlyDiffParents(bool only) = 0;
  virtual void setShouldCountOnlyRunning(bool only) = 0;
  virtual void setShouldSendEvent(bool send) = 0;
  virtual void setAction(ProcessWatchdogActionEnum action) = 0;
  virtual void setExecutable(PLiteral const& executable) = 0;
  virtual void setArguments(PLiteral const& arguments) = 0;
  virtual void setWorkingDir(PLiteral const& workingDir) = 0;
};
