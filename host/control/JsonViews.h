#pragma once

#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "host/control/ControlSources.h"
#include "host/control/NameMatch.h"
#include "host/watch/Explain.h"

/// The things of the API as it shows them, each in one place.

/// The kernel's letter for the state of a process, if it is still of that name.
using StateOf = std::function<std::optional<char>(unsigned int pid, std::string const& name)>;

/// `uptime` is that of the host.
nlohmann::json statusJson(ControlSources const& sources, std::chrono::milliseconds uptime);

nlohmann::json entryJson(EntryView const& entry, GlobalSettings const& globals,
                         StateOf const& stateOf);

nlohmann::json explanationJson(Explanation const& explanation);

nlohmann::json matchesJson(std::string const& name, NameMatches const& matches);

nlohmann::json recordJson(WatchRecord const& record);

nlohmann::json errorJson(const char* code, std::string const& text);

/// As text, without a line's end; what is not UTF-8 becomes U+FFFD.
std::string textOf(nlohmann::json const& view);
