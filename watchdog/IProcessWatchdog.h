#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"
#include "watchdog/IProcessWatchdogEntry.h"
#include "watchdog/IProcessWatchdogInfo.h"

/// Interface identifier of the watchdog service.
inline constexpr wchar_t ID_IPROCESSWATCHDOG[] = L"com.telmor.vesk.watchdog.process";

/// Interface identifier of a new, empty entry (`IProcessWatchdogEntry`).
inline constexpr wchar_t ID_IPROCESSWATCHDOGENTRY[] = L"com.telmor.vesk.watchdog.process.entry";

/// Topics of the events that the watchdog publishes. The event's source is the
/// entry whose limit was reached; its value is the process id, or for
/// `inst_high` the number of instances.
inline constexpr wchar_t kTopicCpuHigh[] = L"event.watchdog.process.cpu_high";
inline constexpr wchar_t kTopicMemHigh[] = L"event.watchdog.process.mem_high";
inline constexpr wchar_t kTopicInstHigh[] = L"event.watchdog.process.inst_high";

/// The watchdog service: the registry of monitored programs.
///
/// All operations may be called from any thread. What looks at the registry waits
/// while a sample is being taken, for as long as that lasts, and takes effect with
/// the next one. Results are those of `ProcessWatchdogResult`, or of the framework when
/// memory runs out; nothing is changed then.
class IProcessWatchdog : public IBase {
 public:
  /// Monitors the program that `entry` describes, under the name that it has now.
  /// The very object is shared, and one reference to it is held.
  /// @param entry from this plug-in's own entry interface.
  /// @return 0; -502 for a null entry or an empty name; -509 when the name is
  ///         registered already.
  virtual int addProcessEntry(IProcessWatchdogEntry* entry) = 0;

  /// Stops monitoring `name`; its processes are left alone.
  /// @return 0, also when there is no such name; -502 for the empty name.
  virtual int removeProcessEntry(PLiteral const& name) = 0;

  /// Whether `name` is registered.
  virtual bool containsProcess(PLiteral const& name) const = 0;

  /// Hands out the entry registered under `name`, without a reference. A caller that
  /// keeps it calls `incRef()`. Until then something else must hold the entry: a
  /// reference that somebody is known to have, or the registry, where no other
  /// thread may remove the entry meanwhile.
  /// @return 0; -502 for the empty name and -509 for one that is not registered,
  ///         both with `info` untouched.
  virtual int getProcessInfo(PLiteral const& name, IProcessWatchdogInfo*& info) const = 0;
};
