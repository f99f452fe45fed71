#pragma once

#include "host/veskctl/Options.h"

namespace ctl {

/// The options of `add`: one for each key of a program, and the file to begin with.
void declareEntryOptions(CLI::App& app, Options& options);

/// What to send for `add`: the file's fields, then those of the options. A limit that
/// an option gives switches its check on unless another option says no.
Result<Json> entryBody(Options const& options);

}  // namespace ctl
