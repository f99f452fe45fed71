#pragma once

#include "framework/IBase.h"

/// Interface identifier of the operating-system restart.
inline constexpr wchar_t ID_IOSRESTART[] = L"com.telmor.vesk.os.restart";

/// Restarts the operating system. May be called from any thread.
class IOSRestart : public IBase {
 public:
  /// Asks for a restart and returns without waiting for it.
  /// @param mode 0 for the ordinary restart; no other mode is defined.
  /// @return 0 when the restart is under way, now or already; -EINVAL for an unknown
  ///         mode; -EPERM without the right to restart, or where it is never allowed;
  ///         -EAGAIN where it is not allowed yet; otherwise a negated errno.
  virtual int restart(int mode) = 0;
};
