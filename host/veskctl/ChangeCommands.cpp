#include "host/veskctl/ChangeCommands.h"

#include "host/veskctl/EntryOptions.h"
#include "host/veskctl/Print.h"

namespace ctl {

namespace {

Printer sentence(const char* rest) {
  return [rest](Json const& answer, View const& view) {
    return painted(shown(textOf(answer, "name", "?")), Colour::strong, view) + rest;
  };
}

}  // namespace

Outcome runAdd(Context const& context) {
  auto body = entryBody(context.options);
  if (auto const* failure = std::get_if<Failure>(&body)) return *failure;
  std::string text;
  try {
    text = std::get<Json>(body).dump();
  } catch (Json::exception const&) {
    return Failure{ExitCode::badCommandLine, "a value is no UTF-8"};
  }
  const Request request{"POST", "/v1/entries", std::move(text)};
  return print(context, ask(context.api, request), sentence(" is watched now\n"));
}

Outcome runRemove(Context const& context) {
  const Request request{"DELETE", entryPath(context.options.name)};
  return print(context, ask(context.api, request),
               sentence(" is watched no more; its processes go on\n"));
}

Outcome runReload(Context const& context) {
  return print(context, ask(context.api, {"POST", "/v1/reload"}), renderReload);
}

}  // namespace ctl
