#pragma once

#include <mutex>

#include "framework/PCounterSync.h"
#include "framework/PString.h"
#include "watchdog/IProcessWatchdogEntry.h"
#include "watchdog/Setting.h"

/// The one implementation of an entry. Destroyed by its own `decRef()`.
///
/// Clients change it on their threads while the worker reads it.
class PProcessWatchdogEntry final : public IProcessWatchdogEntry {
 public:
  PProcessWatchdogEntry() = default;
  PProcessWatchdogEntry(PProcessWatchdogEntry const&) = delete;
  PProcessWatchdogEntry& operator=(PProcessWatchdogEntry const&) = delete;

  int incRef() override;
  int decRef() override;

  void getName(PString& name) const override;
  unsigned int getPeriod() const override { return fPeriod.get(); }
  bool getCpuEnabled() const override { return fCpuEnabled.get(); }
  char getCpuLimit() const override { return fCpuLimit.get(); }
  bool getMemEnabled() const override { return fMemEnabled.get(); }
  unsigned long long getMemLimit() const override { return fMemLimit.get(); }
  bool getInstEnabled() const override { return fInstEnabled.get(); }
  unsigned int getInstLimit() const override { return fInstLimit.get(); }
  bool getRespawnEnabled() const override { return fRespawnEnabled.get(); }
  int getRespawnLimit() const override { return fRespawnLimit.get(); }
  bool getShouldCountOnlyDiffParents() const override { return fShouldCountOnlyDiffParents.get(); }
  bool getShouldCountOnlyRunning() const override { return fShouldCountOnlyRunning.get(); }
  bool getShouldSendEvent() const override { return fShouldSendEvent.get(); }
  ProcessWatchdogActionEnum getAction() const override { return fAction.get(); }
  void getExecutable(PString& executable) const override;
  void getArguments(PString& arguments) const override;
  void getWorkingDir(PString& workingDir) const override;

  void setName(PLiteral const& name) override;
  void setPeriod(unsigned int seconds) override { fPeriod.set(seconds); }
  void setCpuEnabled(bool enabled) override { fCpuEnabled.set(enabled); }
  void setCpuLimit(char percent) override { fCpuLimit.set(percent); }
  void setMemEnabled(bool enabled) override { fMemEnabled.set(enabled); }
  void setMemLimit(unsigned long long kib) override { fMemLimit.set(kib); }
  void setInstEnabled(bool enabled) override { fInstEnabled.set(enabled); }
  void setInstLimit(unsigned int count) override { fInstLimit.set(count); }
  void setRespawnEnabled(bool enabled) override { fRespawnEnabled.set(enabled); }
  void setRespawnLimit(int count) override { fRespawnLimit.set(count); }
  void setShouldCountOnlyDiffParents(bool only) override { fShouldCountOnlyDiffParents.set(only); }
  void setShouldCountOnlyRunning(bool only) override { fShouldCountOnlyRunning.set(only); }
  void setShouldSendEvent(bool send) override { fShouldSendEvent.set(send); }
  void setAction(ProcessWatchdogActionEnum action) override { fAction.set(action); }
  void setExecutable(PLiteral const& executable) override;
  void setArguments(PLiteral const& arguments) override;
  void setWorkingDir(PLiteral const& workingDir) override;

  // Copies of the texts, for the library's own readers: unlike the getters, which
  // have no result to say that memory ran out, these throw `std::bad_alloc`.
  PString name() const { return copyOf(fName); }
  PString executable() const { return copyOf(fExecutable); }
  PString arguments() const { return copyOf(fArguments); }
  PString workingDir() const { return copyOf(fWorkingDir); }

 private:
  ~PProcessWatchdogEntry() = default;

  PString copyOf(PLiteral const& text) const;
  void copyText(PString& target, PLiteral const& text) const noexcept;

  PCounterSync fRefCount;
  PString fName;
  Setting<unsigned int> fPeriod{5};
  Setting<bool> fCpuEnabled{false};
  Setting<char> fCpuLimit{0};
  Setting<bool> fMemEnabled{false};
  Setting<unsigned long long> fMemLimit{0};
  Setting<bool> fInstEnabled{false};
  Setting<bool> fRespawnEnabled{false};
  Setting<unsigned int> fInstLimit{0};
  Setting<int> fRespawnLimit{-1};
  Setting<bool> fShouldCountOnlyDiffParents{false};
  Setting<bool> fShouldCountOnlyRunning{false};
  Setting<bool> fShouldSendEvent{true};
  Setting<ProcessWatchdogActionEnum> fAction{none};
  PString fExecutable;
  PString fArguments;
  PString fWorkingDir;
  mutable std::mutex fTextMutex;  ///< of the four texts; held for one copy
};
