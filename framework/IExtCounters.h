#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"

/// Interface identifier of the external counters.
inline constexpr wchar_t ID_IEXTCOUNTERS[] = L"com.telmor.vesk.extcounters";

/// Named counters that are visible outside the host. A counter exists from its
/// first increment on. All operations may be called from any thread.
class IExtCounters : public IBase {
 public:
  /// Adds 1 to the counter `name`. @return 0 or a negative code.
  virtual int increment(PLiteral const& name) = 0;

  /// Reads the counter `name`.
  /// @return 0, or `PResult::notFound` with `value` untouched.
  virtual int getValue(PLiteral const& name, unsigned long long& value) const = 0;
};
