#include <fmt/format.h>

#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/control/EventStream.h"
#include "host/control/JsonViews.h"
#include "host/control/NameMatch.h"
#include "host/control/RequestBody.h"
#include "host/control/Routes.h"

using nlohmann::json;

namespace {

using Code = ApiError::Code;

HttpAnswer status(ApiCall const& call) {
  return answerOf(statusJson(call.api.sources(), call.api.uptime()));
}

HttpAnswer counters(ApiCall const& call) {
  return answerOf(json{{"counters", call.api.sources().counters()}});
}

HttpAnswer metrics(ApiCall const& call) {
  HttpAnswer answer;
  answer.type = "text/plain; version=0.0.4";
  answer.body = call.api.metrics();
  return answer;
}

StateOf statesFrom(ProcessTree const& processes) {
  return [&processes](unsigned int pid, std::string const& name) {
    return stateOfBearer(processes, pid, name);
  };
}

HttpAnswer entries(ApiCall const& call) {
  const WatchView watch = call.api.sources().watch();
  const StateOf stateOf = statesFrom(call.api.processes());
  json list = json::array();
  for (EntryView const& entry : watch.entries) {
    list.push_back(entryJson(entry, watch.globals, stateOf));
  }
  return answerOf(json{{"entries", std::move(list)}});
}

/// Answers with what is made of one entry.
template <typename Make>
HttpAnswer ofEntry(ApiCall const& call, Make make) {
  const WatchView watch = call.api.sources().watch();
  for (EntryView const& entry : watch.entries) {
    if (entry.settings.name == call.name) return answerOf(make(entry, watch.globals));
  }
  return refuse(Code::notFound, fmt::format("nothing of the name `{}' is watched", call.name));
}

HttpAnswer entry(ApiCall const& call) {
  return ofEntry(call, [&call](EntryView const& found, GlobalSettings const& globals) {
    return entryJson(found, globals, statesFrom(call.api.processes()));
  });
}

HttpAnswer explanation(ApiCall const& call) {
  return ofEntry(call, [&call](EntryView const& found, GlobalSettings const& globals) {
    Explanation answer = explain(found, globals);
    const auto refusal = call.api.sources().restarts().lastRefusal;
    // The watchdog asks again and again, but the brake may hold.
    if (refusal && found.settings.action == "osrestart") {
      answer.nextAct += fmt::format("; the last such restart was refused: {}", refusal->reason);
    }
    return explanationJson(answer);
  });
}

HttpAnswer add(ApiCall const& call) {
  const ApiResult body = readObject(call.request.body);
  auto const* settings = std::get_if<json>(&body);
  if (settings == nullptr) return answerOf(body);
  return answerOf(call.api.sources().changes->add(*settings), 201);
}

HttpAnswer remove(ApiCall const& call) {
  if (auto wrong = refuseBody(call.request.body)) return answerOf(*wrong);
  return answerOf(call.api.sources().changes->remove(call.name));
}

HttpAnswer reload(ApiCall const& call) {
  if (auto wrong = refuseBody(call.request.body)) return answerOf(*wrong);
  return answerOf(call.api.sources().changes->reload());
}

HttpAnswer match(ApiCall const& call) {
  const auto name = call.query.find("name");
  if (name == call.query.end()) return refuse(Code::badRequest, "the argument `name' is missing");
  if (name->second.empty()) return refuse(Code::badValue, "`name' is empty");
  NameMatches matches;
  const int res = call.api.match(name->second, call.request.client, matches);
  if (res != 0) {
    return refuse(Code::internal, fmt::format("the process table cannot be read: {}", res));
  }
  return answerOf(matchesJson(name->second, matches));
}

constexpr std::uint64_t kMostEvents = 1000;
constexpr std::uint64_t kUsualEvents = 100;

/// A number of the query, from 1 to `most`.
/// @param number left alone where there is none. @return what is wrong.
std::optional<ApiError> takeNumber(ApiCall const& call, std::string const& argument,
                                   std::uint64_t most, std::optional<std::uint64_t>& number) {
  const auto found = call.query.find(argument);
  if (found == call.query.end()) return std::nullopt;
  std::string const& text = found->second;
  std::uint64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error == std::errc::invalid_argument || stop != end) {
    return ApiError{Code::badRequest,
                    fmt::format("`{}' is `{}', but a number is expected", argument, text)};
  }
  if (error != std::errc() || value < 1 || value > most) {
    return ApiError{Code::badValue,
                    fmt::format("`{}' is {}, but 1 to {} is expected", argument, text, most)};
  }
  number = value;
  return std::nullopt;
}

HttpAnswer follow(ApiCall const& call, std::optional<std::uint64_t> from) {
  auto const& journal = call.api.sources().journal;
  HttpAnswer answer;
  answer.type = "application/x-ndjson";
  answer.stream = [stream = EventStream(journal, from.value_or(journal->next()),
                                        call.api.sources().now)](std::string& text) mutable {
    return stream.next(text);
  };
  return answer;
}

HttpAnswer events(ApiCall const& call) {
  std::optional<std::uint64_t> from;
  std::optional<std::uint64_t> limit;
  if (auto wrong = takeNumber(call, "from", std::numeric_limits<std::int64_t>::max(), from)) {
    return answerOf(*wrong);
  }
  if (auto wrong = takeNumber(call, "limit", kMostEvents, limit)) return answerOf(*wrong);
  const auto wanted = call.query.find("follow");
  const bool isStream = wanted != call.query.end() && wanted->second == "true";
  if (wanted != call.query.end() && !isStream && wanted->second != "false") {
    return refuse(Code::badRequest, "`follow' is neither `true' nor `false'");
  }
  if (isStream && limit) return refuse(Code::badRequest, "`limit' does not go with `follow'");
  if (isStream) return follow(call, from);

  RecordJournal const& journal = *call.api.sources().journal;
  const std::uint64_t most = limit.value_or(kUsualEvents);
  const std::uint64_t next = journal.next();
  const auto batch =
      journal.read(from.value_or(next > most ? next - most : 1), static_cast<std::size_t>(most));
  json list = json::array();
  for (WatchRecord const& record : batch.records) list.push_back(recordJson(record));
  return answerOf(
      json{{"events", std::move(list)}, {"missed", batch.missed}, {"next", batch.next}});
}

constexpr std::array<Route, 11> kRoutes = {{
    {"GET", "/v1/status", {}, status},
    {"GET", "/v1/entries", {}, entries},
    {"POST", "/v1/entries", {}, add},
    {"GET", "/v1/entries/*", {}, entry},
    {"DELETE", "/v1/entries/*", {}, remove},
    {"GET", "/v1/entries/*/explain", {}, explanation},
    {"GET", "/v1/match", {"name"}, match},
    {"GET", "/v1/counters", {}, counters},
    {"GET", "/v1/events", {"from", "limit", "follow"}, events},
    {"POST", "/v1/reload", {}, reload},
    {"GET", "/metrics", {}, metrics},
}};

}  // namespace

std::span<Route const> controlRoutes() { return kRoutes; }

std::span<Route const> metricsRoutes() { return std::span(kRoutes).last(1); }
