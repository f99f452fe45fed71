#pragma once

#include <string>
#include <string_view>

/// A text as a label can carry it: UTF-8 stays as it is, and a byte that is not, or
/// that is zero, becomes "\x" and its two hexadecimal digits. Different texts stay
/// different, unless one spells such an escape out.
std::string labelText(std::string_view text);

/// The name of the metric for a counter of this name: its own where that is a valid
/// name and none of the host's. All others are escaped as Prometheus does where any
/// name must become a valid one: "U__", then "__" for an underscore, and the code
/// point between underscores for what is neither letter nor digit nor colon. Thus
/// "my counter" becomes "U__my_20_counter", and no two names become the same.
std::string counterMetricName(std::string const& name);
