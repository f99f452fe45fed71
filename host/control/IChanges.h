#pragma once

#include <string>

#include "host/control/ApiResult.h"

/// What the control API can change. Any thread may call; the answer comes when the
/// change is in effect, which may take as long as a pass of the watchdog.
class IChanges {
 public:
  virtual ~IChanges() = default;

  /// Has one more program watched.
  /// @param entry an object with the keys of one program of the configuration file;
  ///        unlike there, nothing falls back: what is out of range is refused.
  /// @return {"name": ...}
  virtual ApiResult add(nlohmann::json const& entry) = 0;

  /// Has a program watched no more; its processes are left alone.
  /// @return {"name": ...}
  virtual ApiResult remove(std::string const& name) = 0;

  /// Reads the configuration file again. Nothing changes when it has an error.
  /// @return {"findings": [...], "needs_restart": ["host.log_file", ...]}
  virtual ApiResult reload() = 0;
};
