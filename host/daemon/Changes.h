#pragma once

#include <functional>

#include "host/control/IChanges.h"
#include "host/daemon/MainLoop.h"
#include "host/entries/Roster.h"

/// Changes that are made by the main thread.
class Changes : public IChanges {
 public:
  /// @param loop, roster outlive this object.
  /// @param reload what a reload does, on the main thread.
  Changes(MainLoop& loop, Roster& roster, std::function<ApiResult()> reload);

  ApiResult add(nlohmann::json const& entry) override;
  ApiResult remove(std::string const& name) override;
  ApiResult reload() override;

 private:
  MainLoop& fLoop;
  Roster& fRoster;
  std::function<ApiResult()> fReload;
};
