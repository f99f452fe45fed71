#pragma once

#include "host/veskctl/Print.h"

namespace ctl {

/// Asks again and again, and shows the answer in place, until a stop. A host that goes
/// away is told above its last answer; one that is not there to begin with is a failure.
Outcome watch(Context const& context, Request const& request, Printer const& printer);

}  // namespace ctl
