#pragma once

#include "host/veskctl/Commands.h"

namespace ctl {

/// The commands that change what is watched.

Outcome runAdd(Context const& context);
Outcome runRemove(Context const& context);
Outcome runReload(Context const& context);

}  // namespace ctl
