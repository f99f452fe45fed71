#include "host/services/ConfigValue.h"

#include <fmt/format.h>

namespace {

struct Describe {
  std::string operator()(ConfigValue::Other other) const { return other.kind; }
  std::string operator()(bool value) const { return fmt::format("the boolean {}", value); }
  std::string operator()(long long value) const { return fmt::format("the integer {}", value); }
  std::string operator()(double value) const { return fmt::format("the float {}", value); }
  std::string operator()(std::string const& /*value*/) const { return "a string"; }
  std::string operator()(ConfigValue::Array const& /*value*/) const { return "an array"; }
};

}  // namespace

std::string describe(ConfigValue const& value) { return std::visit(Describe{}, value.content); }

std::string atPosition(std::string const& path, FilePosition position) {
  return fmt::format("{}:{}:{}: ", path, position.line, position.column);
}
