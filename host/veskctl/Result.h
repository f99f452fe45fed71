#pragma once

#include <string>
#include <variant>

#include "host/veskctl/ExitCode.h"

namespace ctl {

/// Why something was not done.
struct Failure {
  ExitCode code;
  std::string text;  ///< for people, as it came: make it printable; empty to say nothing
};

template <class Value>
using Result = std::variant<Value, Failure>;

}  // namespace ctl
