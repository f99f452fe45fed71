#pragma once

#include "framework/veskGetInstance.h"
#include "plugin/PBaseptr.h"
#include "watchdog/Guarded.h"

/// Looks a service up and holds it.
/// @return the lookup's result. A lookup that succeeds without an object leaves
///         `holder` empty and still returns 0.
template <class Interface>
int obtainInstance(PLiteral const& id, PBaseptr<Interface>& holder) {
  IBase* instance = nullptr;
  const int res = veskGetInstance(id, instance);
  if (res != FrameworkResult::ok) return res;
  return guarded([&] {
    pTake(holder, static_cast<Interface*>(instance));
    return FrameworkResult::ok;
  });
}
