#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/check/KeyTable.h"
#include "host/check/WatchdogKeys.h"

/// What a key holds that it may not.
struct KeyFault {
  enum class Kind { type, content };
  Kind kind;
  FilePosition position;
  std::string what;  ///< "`key' is ..., but ... is expected"
};

/// What is wrong with the key's own value; nothing where none stands there.
std::optional<KeyFault> faultOf(KeyTable const& table, WatchdogKey const& key);

/// Type and range of each key that stands there. @param severity of what cannot be
/// read; what is out of range is a warning always.
void checkValues(KeyTable& table, std::span<WatchdogKey const> keys, Severity severity);

/// The names of the keys.
std::vector<std::string_view> namesOf(std::span<WatchdogKey const> keys);
