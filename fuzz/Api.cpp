// Requests of any kind to the control API: each answer is what the API says it is.

#include <map>
#include <nlohmann/json.hpp>

#include "fuzz/Fuzz.h"
#include "host/check/WatchdogKeys.h"
#include "host/control/ControlApi.h"
#include "host/control/HttpTarget.h"
#include "host/control/RequestBody.h"
#include "host/entries/EntryRequest.h"
#include "tests/host/process/FakeProc.h"

namespace {

using nlohmann::json;

/// A watchdog of entries alone, which takes what the real one would.
struct MadeWatchdog : IChanges {
  ApiResult add(json const& request) override {
    auto read = readEntryRequest(request, view.globals);
    if (auto const* error = std::get_if<ApiError>(&read)) return *error;
    auto const& settings = std::get<EntrySettings>(read);
    REQUIRE(!settings.name.empty() && settings.name.find('\0') == std::string::npos);
    REQUIRE(settings.name.size() <= 255 && settings.arguments.size() <= 4096);
    REQUIRE(settings.period >= 1 && settings.cpuLimit <= 100 && settings.respawnLimit != 0);
    REQUIRE(std::ranges::find(kActions, settings.action) != kActions.end());
    for (EntryView const& other : view.entries) {
      if (other.settings.name == settings.name) return ApiError{ApiError::Code::conflict, ""};
    }
    EntryView entry{settings, true, WallTime{}, 0, {}, {}};
    entry.instances = {{20, 1, true, true, 3, 2048, {2, std::chrono::milliseconds(2004), 3, 48}}};
    view.entries.push_back(entry);
    return json{{"name", settings.name}};
  }
  ApiResult remove(std::string const& name) override {
    const auto count =
        std::erase_if(view.entries, [&](EntryView const& e) { return e.settings.name == name; });
    return count == 1 ? ApiResult(json{{"name", name}}) : ApiError{ApiError::Code::notFound, ""};
  }
  ApiResult reload() override { return ApiError{ApiError::Code::refused, "no"}; }

  WatchView view;
};

const std::map<std::string, unsigned int> kErrors = {
    {"bad_request", 400}, {"unknown_field", 400}, {"bad_value", 400}, {"not_found", 404},
    {"bad_method", 405},  {"conflict", 409},      {"too_large", 413}, {"refused", 422}};

void requireRight(HttpAnswer const& answer, HttpRequest const& request) {
  if (answer.stream) {
    std::string lines;
    for (std::string text; answer.stream(text); text.clear()) lines += text;
    Input rest(lines);
    while (!rest.rest().empty()) REQUIRE(json::parse(rest.upTo("\n")).is_object());
  } else if (answer.status / 100 == 2) {
    if (answer.type == "application/json") REQUIRE(json::parse(answer.body).is_object());
    REQUIRE((answer.status == 201) == (request.method == "POST"));
  } else {
    REQUIRE(kErrors.at(json::parse(answer.body)["error"]["code"]) == answer.status);
  }
  REQUIRE((answer.status == 405) == !answer.allow.empty());
}

std::string encoded(std::string_view text) {
  std::string out;
  for (const char byte : text) {
    out += {'%', "0123456789abcdef"[byte / 16], "0123456789ABCDEF"[byte % 16]};
  }
  return out;
}

/// A target that was understood says the same when it is written otherwise.
void requireSameWhenWrittenAnew(std::string const& text) {
  std::string cause;
  const auto target = parseTarget(text, cause);
  REQUIRE(target.has_value() == cause.empty());
  if (!target) return;
  std::string again = "http://any:1";
  for (std::string const& part : target->path) again += "/" + encoded(part);
  again += '?';
  for (auto const& [name, value] : target->query)
    again += encoded(name) + "=" + encoded(value) + "&";
  const auto parsed = parseTarget(again, cause);
  REQUIRE(parsed && parsed->path == target->path && parsed->query == target->query);
}

}  // namespace

FUZZ_TARGET(api) {
  static const FakeProc proc;
  static const bool isMade = (proc.add(20, {"nginx", 'R'}), true);
  REQUIRE(isMade);
  const auto watchdog = std::make_shared<MadeWatchdog>();
  ControlSources sources;
  sources.watch = [&] { return watchdog->view; };
  sources.journal = std::make_shared<RecordJournal>(3);
  sources.counters = [] { return std::map<std::string, unsigned long long>{{"\xff", 3}}; };
  sources.restarts = [] { return RestartState{}; };
  sources.metrics = [] { return std::string("up 1\n"); };
  sources.changes = watchdog;
  sources.procRoot = proc.path();
  for (int i = 0; i < 4; ++i) sources.journal->append({});
  sources.journal->close();
  const ControlApi api(std::move(sources));
  Input rest(input);
  // Most of a text of random bytes would be requests that are refused at once.
  for (int count = 0; count < 4 && !rest.rest().empty(); ++count) {
    HttpRequest request;
    request.method = rest.upTo(" ");
    request.target = rest.upTo("\n");
    request.body = rest.upTo("\n\n");
    requireSameWhenWrittenAnew(request.target);
    requireRight(api.answer(request), request);
    const HttpAnswer other = api.answerMetricsOnly(request);
    REQUIRE(other.status != 200 || other.body == "up 1\n");
    const ApiResult body = readObject(request.body);
    if (auto const* object = std::get_if<json>(&body)) {
      try {
        REQUIRE(std::get<json>(readObject(object->dump())) == *object);
      } catch (json::type_error const&) {  // not UTF-8
      }
    }
  }
}
