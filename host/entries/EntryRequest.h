#pragma once

#include <nlohmann/json_fwd.hpp>
#include <variant>

#include "host/control/ApiResult.h"
#include "host/watch/WatchView.h"

/// Reads the settings of one program as a request gives them: an object with the keys
/// of the configuration file. Held against the same rules as the file, but whatever
/// they find refuses it, for somebody waits for the answer. Reads the file system and
/// PATH.
/// @param globals in force; a check that they switch off is not missed.
/// @return all that is wrong of the gravest kind, a line each: unknown fields, wrong
///         types, wrong values.
std::variant<EntrySettings, ApiError> readEntryRequest(nlohmann::json const& request,
                                                       GlobalSettings const& globals);
