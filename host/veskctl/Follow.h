#pragma once

#include "host/veskctl/Commands.h"

namespace ctl {

/// Prints events as they come, until a stop. When the host goes away it waits for it
/// to come back, unless the options say no, and goes on where it was, or at the first
/// event of another run of the host.
Outcome follow(Context const& context);

}  // namespace ctl
