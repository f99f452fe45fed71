#pragma once

#include <string>

#include "host/veskctl/Fields.h"
#include "host/veskctl/View.h"

namespace ctl {

/// Texts made of the host's answers. An answer of another shape than was agreed throws
/// `Json::exception`.

enum class SortKey { health, name, cpu, memory };

std::string renderStatus(Json const& status, SortKey sort, View const& view);
std::string renderEntry(Json const& entry, View const& view);
std::string renderExplain(Json const& explanation, View const& view);
std::string renderMatch(Json const& match, View const& view);
std::string renderCounters(Json const& counters, View const& view);
std::string renderReload(Json const& reload, View const& view);
std::string renderEvents(Json const& events, View const& view);

/// A line of a stream: an event, or how many were missed.
std::string renderEventLine(Json const& line, View const& view);

}  // namespace ctl
