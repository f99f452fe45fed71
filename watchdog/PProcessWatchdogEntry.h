#pragma once

#include "framework/PCounterSync.h"
#include "framework/PString.h"
#include "watchdog/IProcessWatchdogEntry.h"

/// The one implementation of an entry. Destroyed by its own `decRef()`.
class PProcessWatchdogEntry final : public IProcessWatchdogEntry {
 public:
  PProcessWatchdogEntry() = default;
  PProcessWatchdogEntry(PProcessWatchdogEntry const&) = delete;
  PProcessWatchdogEntry& operator=(PProcessWatchdogEntry const&) = delete;

  int incRef() override;
  int decRef() override;

  void getName(PString& name) const override;
  unsigned int getPeriod() const override { return fPeriod; }
  bool getCpuEnabled() const override { return fCpuEnabled; }
  char getCpuLimit() const override { return fCpuLimit; }
  bool getMemEnabled() const override { return fMemEnabled; }
  unsigned long long getMemLimit() const override { return fMemLimit; }
  bool getInstEnabled() const override { return fInstEnabled; }
  unsigned int getInstLimit() const override { return fInstLimit; }
  bool getRespawnEnabled() const override { return fRespawnEnabled; }
  int getRespawnLimit() const override { return fRespawnLimit; }
  bool getShouldCountOnlyDiffParents() const override { return fShouldCountOnlyDiffParents; }
  bool getShouldCountOnlyRunning() const override { return fShouldCountOnlyRunning; }
  bool getShouldSendEvent() const override { return fShouldSendEvent; }
  ProcessWatchdogActionEnum getAction() const override { return fAction; }
  void getExecutable(PString& executable) const override;
  void getArguments(PString& arguments) const override;
  void getWorkingDir(PString& workingDir) const override;

  void setName(PLiteral const& name) override;
  void setPeriod(unsigned int seconds) override { fPeriod = seconds; }
  void setCpuEnabled(bool enabled) override { fCpuEnabled = enabled; }
  void setCpuLimit(char percent) override { fCpuLimit = percent; }
  void setMemEnabled(bool enabled) override { fMemEnabled = enabled; }
  void setMemLimit(unsigned long long kib) override { fMemLimit = kib; }
  void setInstEnabled(bool enabled) override { fInstEnabled = enabled; }
  void setInstLimit(unsigned int count) override { fInstLimit = count; }
  void setRespawnEnabled(bool enabled) override { fRespawnEnabled = enabled; }
  void setRespawnLimit(int count) override { fRespawnLimit = count; }
  void setShouldCountOnlyDiffParents(bool only) override { fShouldCountOnlyDiffParents = only; }
  void setShouldCountOnlyRunning(bool only) override { fShouldCountOnlyRunning = only; }
  void setShouldSendEvent(bool send) override { fShouldSendEvent = send; }
  void setAction(ProcessWatchdogActionEnum action) override { fAction = action; }
  void setExecutable(PLiteral const& executable) override;
  void setArguments(PLiteral const& arguments) override;
  void setWorkingDir(PLiteral const& workingDir) override;

  // The stored texts, for the library's own readers: unlike the getters, which
  // have no result to say that memory ran out, these cannot fail.
  PString const& name() const { return fName; }
  PString const& executable() const { return fExecutable; }
  PString const& arguments() const { return fArguments; }
  PString const& workingDir() const { return fWorkingDir; }

 private:
  ~PProcessWatchdogEntry() = default;

  PCounterSync fRefCount;
  PString fName;
  unsigned int fPeriod = 5;
  bool fCpuEnabled = false;
  char fCpuLimit = 0;
  bool fMemEnabled = false;
  unsigned long long fMemLimit = 0;
  bool fInstEnabled = false;
  bool fRespawnEnabled = false;
  unsigned int fInstLimit = 0;
  int fRespawnLimit = -1;
  bool fShouldCountOnlyDiffParents = false;
  bool fShouldCountOnlyRunning = false;
  bool fShouldSendEvent = true;
  ProcessWatchdogActionEnum fAction = none;
  PString fExecutable;
  PString fArguments;
  PString fWorkingDir;
};
