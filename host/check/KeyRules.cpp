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

void checkValue(KeyTable& table, WatchdogKey const& key, Severity severity) {
  const auto wrong = [&table, &key](std::string const& found, const char* result) {
    return fmt::format("`{}' is {}, but {} is expected: {}", table.fullKey(key.name), found,
                       expectation(key), result);
  };
  ConfigEntry const* entry = table.entry(key.name);
  if (entry == nullptr) {
    ConfigEntry const* inner = table.firstInside(key.name);
    if (inner == nullptr) return;
    table.add(severity, inner->keyPosition, key.name, wrong("a table", key.ifUnread));
    return;
  }
  if (!isReadable(table, key)) {
    table.add(severity, entry->value.position, key.name,
              wrong(describe(entry->value), key.ifUnread));
    return;
  }
  if (key.kind != KeyKind::integer) return;
  const int number = *table.integer(key.name);
  if (number >= key.least && number <= key.most) return;
  table.warnAtValue(key.name, wrong(describe(entry->value), key.ifOutOfRange));
}

}  // namespace

void checkValues(KeyTable& table, std::span<WatchdogKey const> keys, Severity severity) {
  for (WatchdogKey const& key : keys) checkValue(table, key, severity);
}

std::vector<std::string_view> namesOf(std::span<WatchdogKey const> keys) {
  std::vector<std::string_view> names;
  names.reserve(keys.size());
  for (WatchdogKey const& key : keys) names.push_back(key.name);
  return names;
}
