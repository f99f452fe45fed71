#include "host/check/KeyTable.h"

#include <utility>

namespace {

template <class Value>
Value const* valueOf(ConfigEntry const* entry) {
  return entry != nullptr ? std::get_if<Value>(&entry->value.content) : nullptr;
}

}  // namespace

KeyTable::KeyTable(TomlFile const& file, std::string table, Findings& findings)
    : fFile(file), fTable(std::move(table)), fFindings(findings) {}

std::string KeyTable::fullKey(std::string_view key) const {
  if (key.empty()) return fTable;
  return fTable.empty() ? std::string(key) : fTable + '.' + std::string(key);
}

ConfigEntry const* KeyTable::entry(std::string_view key) const {
  const auto found = fFile.entries.find(fullKey(key));
  return found != fFile.entries.end() ? &found->second : nullptr;
}

ConfigEntry const* KeyTable::firstInside(std::string_view key) const {
  const std::string prefix = fullKey(key) + '.';
  const auto found = fFile.entries.lower_bound(prefix);
  if (found == fFile.entries.end() || !found->first.starts_with(prefix)) return nullptr;
  return &found->second;
}

bool KeyTable::isTrue(std::string_view key) const {
  auto const* truth = valueOf<bool>(entry(key));
  return truth != nullptr && *truth;
}

std::optional<int> KeyTable::integer(std::string_view key) const {
  auto const* number = valueOf<long long>(entry(key));
  if (number == nullptr || !std::in_range<int>(*number)) return std::nullopt;
  return static_cast<int>(*number);
}

std::string const* KeyTable::text(std::string_view key) const {
  auto const* text = valueOf<std::string>(entry(key));
  return text != nullptr && text->find('\0') == std::string::npos ? text : nullptr;
}

void KeyTable::warnAtKey(std::string_view key, std::string const& what) {
  add(Severity::warning, entry(key)->keyPosition, key, what);
}

void KeyTable::warnAtValue(std::string_view key, std::string const& what) {
  add(Severity::warning, entry(key)->value.position, key, what);
}

void KeyTable::add(Severity severity, FilePosition position, std::string_view key,
                   std::string what) {
  fFindings.push_back({fFile.path, position, severity, std::move(what), fullKey(key)});
}
