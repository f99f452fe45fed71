#pragma once

#include "framework/PLiteral.h"
#include "watchdog/IProcessWatchdogInfo.h"

/// A monitored program that can be set up; see `IProcessWatchdogInfo` for the
/// meaning and the unit of each setting.
///
/// The setters store what they are given and check nothing. An entry is filled
/// by one thread before it is added to the watchdog, which then shares it. A later
/// change counts from the next sample on, but is not synchronised: a sample under
/// way may see it half made. To be safe, and always for texts, take the entry out
/// of the watchdog, change it, and add it again.
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
