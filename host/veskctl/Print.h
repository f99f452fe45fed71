#pragma once

#include <functional>
#include <string>

#include "host/veskctl/Answer.h"
#include "host/veskctl/Commands.h"
#include "host/veskctl/Text.h"

namespace ctl {

using Printer = std::function<std::string(Json const& answer, View const& view)>;

/// Prints an answer as the options say: what the printer makes of it, or as JSON.
/// @return why not, or that all is fine.
Outcome print(Context const& context, Result<Answer> const& answer, Printer const& printer);

/// The same text, or why there is none.
Result<std::string> textFor(Context const& context, Answer const& answer, Printer const& printer,
                            View const& view);

/// The JSON with escapes for the control characters that JSON leaves as they are.
std::string withoutControls(std::string const& json);

}  // namespace ctl
