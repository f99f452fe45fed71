#include "host/services/ConfigValue.h"

#include <fmt/format.h>

#include <algorithm>
#include <type_traits>

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

bool isSame(ConfigValue const& left, ConfigValue const& right) {
  if (left.content.index() != right.content.index()) return false;
  return std::visit(
      [&right]<class Value>(Value const& value) {
        auto const& other = std::get<Value>(right.content);
        if constexpr (std::is_same_v<Value, ConfigValue::Array>) {
          return std::ranges::equal(value, other, isSame);
        } else if constexpr (std::is_same_v<Value, ConfigValue::Other>) {
          return false;  // what nobody reads is not known well enough
        } else {
          return value == other;
        }
      },
      left.content);
}

std::string describe(ConfigValue const& value) { return std::visit(Describe{}, value.content); }

std::string atPosition(std::string const& path, FilePosition position) {
  return fmt::format("{}:{}:{}: ", path, position.line, position.column);
}
