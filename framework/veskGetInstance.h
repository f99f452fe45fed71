#pragma once

#include "framework/IBase.h"
#include "framework/PApi.h"
#include "framework/PLiteral.h"

/// Looks a service of the host up. May be called from any thread.
///
/// @param id the interface identifier, compared exactly.
/// @param instance the service, to be used as the interface that the identifier
///        names; no reference is added for the caller. Null on failure.
/// @return 0; `PResult::notFound` when no such service is registered; another
///         negative code when it could not be made.
VESK_API int veskGetInstance(PLiteral const& id, IBase*& instance) noexcept;
