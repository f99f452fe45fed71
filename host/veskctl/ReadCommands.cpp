#include "host/veskctl/ReadCommands.h"

#include "host/veskctl/Follow.h"
#include "host/veskctl/Health.h"
#include "host/veskctl/Print.h"
#include "host/veskctl/Watch.h"

namespace ctl {

namespace {

/// Prints it, and then judges the entries that it holds.
Outcome printAndCheck(Context const& context, Result<Answer> const& answer, Printer const& printer,
                      std::function<std::vector<Json>(Json const&)> const& entriesOf) {
  Outcome outcome = print(context, answer, printer);
  if (!context.options.isCheck || std::holds_alternative<Failure>(outcome)) return outcome;
  std::string bad;
  try {
    bad = listOfNotOk(entriesOf(std::get<Answer>(answer).json));
  } catch (Json::exception const& error) {
    return notUnderstood(error.what());
  }
  if (bad.empty()) return outcome;
  return Failure{ExitCode::notOk, "not ok: " + bad};
}

std::vector<Json> itself(Json const& entry) { return {entry}; }

std::string eventsPath(Options const& options) {
  std::string query;
  if (options.from) query = "?from=" + std::to_string(*options.from);
  if (options.limit)
    query += (query.empty() ? "?" : "&") + ("limit=" + std::to_string(*options.limit));
  return "/v1/events" + query;
}

}  // namespace

Outcome runStatus(Context const& context) {
  const Printer printer = [&](Json const& status, View const& view) {
    return renderStatus(status, context.options.sort, view);
  };
  if (context.options.watchSeconds > 0) return watch(context, {"GET", "/v1/status"}, printer);
  return printAndCheck(
      context, ask(context.api, {"GET", "/v1/status"}), printer,
      [&](Json const& status) { return judgedOf(status, context.terminal.view().now); });
}

Outcome runShow(Context const& context) {
  return printAndCheck(context, ask(context.api, {"GET", entryPath(context.options.name)}),
                       renderEntry, itself);
}

Outcome runExplain(Context const& context) {
  const Request request{"GET", entryPath(context.options.name) + "/explain"};
  return printAndCheck(context, ask(context.api, request), renderExplain, itself);
}

Outcome runMatch(Context const& context) {
  const Request request{"GET", "/v1/match?name=" + percentEncoded(context.options.name)};
  return print(context, ask(context.api, request), renderMatch);
}

Outcome runEvents(Context const& context) {
  if (context.options.isFollow) return follow(context);
  return print(context, ask(context.api, {"GET", eventsPath(context.options)}), renderEvents);
}

Outcome runCounters(Context const& context) {
  return print(context, ask(context.api, {"GET", "/v1/counters"}), renderCounters);
}

}  // namespace ctl
