#include "host/veskctl/Fields.h"

#include <fmt/format.h>

namespace ctl {

namespace {

constexpr const char* kUnknown = "-";

}  // namespace

Json const& field(Json const& object, const char* key) {
  static const Json none;
  if (object.is_null()) return none;
  auto const& fields = object.get_ref<Json::object_t const&>();
  const auto found = fields.find(key);
  return found != fields.end() ? found->second : none;
}

std::string textOf(Json const& object, const char* key, std::string const& otherwise) {
  Json const& value = field(object, key);
  return value.is_null() ? otherwise : value.get<std::string>();
}

std::optional<double> numberOf(Json const& object, const char* key) {
  Json const& value = field(object, key);
  if (value.is_null()) return std::nullopt;
  return value.get<double>();
}

long long integerOf(Json const& object, const char* key, long long otherwise) {
  Json const& value = field(object, key);
  return value.is_null() ? otherwise : value.get<long long>();
}

bool isTrue(Json const& object, const char* key) {
  Json const& value = field(object, key);
  return !value.is_null() && value.get<bool>();
}

std::optional<WallTime> timeOf(Json const& object, const char* key) {
  return parseTime(textOf(object, key));
}

Json const& listOf(Json const& object, const char* key) {
  static const Json empty = Json::array();
  Json const& value = field(object, key);
  if (value.is_null()) return empty;
  static_cast<void>(value.get_ref<Json::array_t const&>());  // or it is no array
  return value;
}

std::string countOf(Json const& object, const char* key) {
  const auto number = numberOf(object, key);
  return number ? fmt::format("{:.0f}", *number) : kUnknown;
}

std::string percentOf(Json const& object, const char* key) {
  const auto number = numberOf(object, key);
  return number ? fmt::format("{:.0f}%", *number) : kUnknown;
}

std::string memoryOf(Json const& object, const char* key) {
  const auto number = numberOf(object, key);
  return number ? humanMemory(*number) : kUnknown;
}

}  // namespace ctl
