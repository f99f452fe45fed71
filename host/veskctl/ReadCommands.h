#pragma once

#include "host/veskctl/Commands.h"

namespace ctl {

/// The commands that only look.

Outcome runStatus(Context const& context);
Outcome runShow(Context const& context);
Outcome runExplain(Context const& context);
Outcome runMatch(Context const& context);
Outcome runEvents(Context const& context);
Outcome runCounters(Context const& context);

}  // namespace ctl
