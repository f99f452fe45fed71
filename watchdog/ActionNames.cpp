// Actions as texts, and texts as actions.

#include <array>

#include "watchdog/PProcessWatchdog.h"

namespace {

/// Indexed by the action.
constexpr std::array<const wchar_t*, 4> kActionNames = {L"none", L"terminate", L"restart",
                                                        L"osrestart"};

}  // namespace

ProcessWatchdogActionEnum PProcessWatchdog::__stringToAction(PLiteral const& text) const {
  for (std::size_t action = 0; action < kActionNames.size(); ++action) {
    if (text == kActionNames[action]) return static_cast<ProcessWatchdogActionEnum>(action);
  }
  __logError(L"[%s] Invalid action string `%ls', defaulting to `none'", "__stringToAction",
             text.c_str());
  return none;
}

void PProcessWatchdog::__actionToString(ProcessWatchdogActionEnum action, PString& text) const {
  auto index = static_cast<unsigned int>(action);
  if (index >= kActionNames.size()) {
    __logError(L"[%s] Invalid action `%u', assuming `none'", "__actionToString", index);
    index = none;
  }
  text = kActionNames[index];
}
