#include "host/check/KeyRules.h"

#include <fmt/format.h>

namespace {

/// Whether the watchdog can read the value as what it asks for.
bool isReadable(KeyTable const& table, WatchdogKey const& key) {
  switch (key.kind) {
    case KeyKind::boolean:
      return std::holds_alternative<bool>(table.entry(key.name)->value.content);
    case KeyKind::integer:
      return table.integer(key.name).has_value();
    default:
      return table.text(key.name) != nullptr;
  }
}

std::string expectation(WatchdogKey const& key) {
  switch (key.kind) {
    case KeyKind::boolean:
      return "a boolean";
    case KeyKind::integer:
      return fmt::format("an integer from {} to {}", key.least, key.most);
    default:
      return "a string without null characters";
  }
}

/// Whether the value is of the right type, whatever it says.
bool isOfType(ConfigEntry const& entry, WatchdogKey const& key) {
  auto const& content = entry.value.content;
  switch (key.kind) {
    case KeyKind::boolean:
      return std::holds_alternative<bool>(content);
    case KeyKind::integer:
      return std::holds_alternative<long long>(content);
    default:
      return std::holds_alternative<std::string>(content);
  }
}

bool isInRange(KeyTable const& table, WatchdogKey const& key) {
  if (key.kind != KeyKind::integer) return true;
  const int number = *table.integer(key.name);
  return number >= key.least && number <= key.most;
}

}  // namespace

std::optional<KeyFault> faultOf(KeyTable const& table, WatchdogKey const& key) {
  const auto wrong = [&table, &key](std::string const& found) {
    return fmt::format("`{}' is {}, but {} is expected", table.fullKey(key.name), found,
                       expectation(key));
  };
  ConfigEntry const* entry = table.entry(key.name);
  if (entry == nullptr) {
    ConfigEntry const* inner = table.firstInside(key.name);
    if (inner == nullptr) return std::nullopt;
    return KeyFault{KeyFault::Kind::type, inner->keyPosition, wrong("a table")};
  }
  const bool isRead = isReadable(table, key);
  if (isRead && isInRange(table, key)) return std::nullopt;
  const auto kind = isOfType(*entry, key) ? KeyFault::Kind::content : KeyFault::Kind::type;
  return KeyFault{kind, entry->value.position, wrong(describe(entry->value))};
}

void checkValues(KeyTable& table, std::span<WatchdogKey const> keys, Severity severity) {
  for (WatchdogKey const& key : keys) {
    const auto fault = faultOf(table, key);
    if (!fault) continue;
    ConfigEntry const* entry = table.entry(key.name);
    const bool isRead = entry != nullptr && isReadable(table, key);
    table.add(isRead ? Severity::warning : severity, fault->position, key.name,
              fmt::format("{}: {}", fault->what, isRead ? key.ifOutOfRange : key.ifUnread));
  }
}

std::vector<std::string_view> namesOf(std::span<WatchdogKey const> keys) {
  std::vector<std::string_view> names;
  names.reserve(keys.size());
  for (WatchdogKey const& key : keys) names.push_back(key.name);
  return names;
}
