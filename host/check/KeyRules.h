#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "host/check/KeyTable.h"
#include "host/check/WatchdogKeys.h"

/// Type and range of each key that stands there. @param severity of what cannot be
/// read; what is out of range is a warning always.
void checkValues(KeyTable& table, std::span<WatchdogKey const> keys, Severity severity);

/// The names of the keys.
std::vector<std::string_view> namesOf(std::span<WatchdogKey const> keys);
