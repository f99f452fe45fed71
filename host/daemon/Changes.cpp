#include "host/daemon/Changes.h"

#include <nlohmann/json.hpp>
#include <utility>

Changes::Changes(MainLoop& loop, Roster& roster, std::function<ApiResult()> reload)
    : fLoop(loop), fRoster(roster), fReload(std::move(reload)) {}

ApiResult Changes::add(nlohmann::json const& entry) {
  return fLoop.run([&] { return fRoster.add(entry); });
}

ApiResult Changes::remove(std::string const& name) {
  return fLoop.run([&] { return fRoster.remove(name); });
}

ApiResult Changes::reload() { return fLoop.run(fReload); }
