#include "host/veskctl/Answer.h"

#include <fmt/format.h>

#include <utility>

namespace ctl {

namespace {

constexpr long kFirstError = 400;
constexpr long kUnavailable = 503;

Failure errorOf(Response const& response) {
  const Json body = Json::parse(response.body, nullptr, false);
  std::string text;
  if (body.is_object() && field(body, "error").is_object()) {
    Json const& words = field(field(body, "error"), "text");
    if (words.is_string()) text = words.get<std::string>();
  }
  if (response.status < kFirstError || text.empty()) {
    return {
        ExitCode::notUnderstood,
        fmt::format("the host answers with HTTP status {} and does not say why", response.status)};
  }
  return {response.status == kUnavailable ? ExitCode::unreachable : ExitCode::refused, text};
}

}  // namespace

Failure notUnderstood(std::string const& why) {
  return {ExitCode::notUnderstood,
          "the host's answer is not understood, is it of another version? " + why};
}

Result<Json> understandLine(std::string_view line) {
  Json json = Json::parse(line, nullptr, false);
  if (json.is_discarded()) return notUnderstood("it is no JSON");
  if (!json.is_object()) return notUnderstood("it is no JSON object");
  return json;
}

Result<Answer> understand(Response response) {
  if (!isSuccess(response.status)) return errorOf(response);
  auto json = understandLine(response.body);
  if (auto* failure = std::get_if<Failure>(&json)) return std::move(*failure);
  return Answer{std::move(response.body), std::get<Json>(std::move(json))};
}

Result<Answer> ask(IApi& api, Request const& request) {
  auto response = api.send(request);
  if (auto* failure = std::get_if<Failure>(&response)) return std::move(*failure);
  return understand(std::get<Response>(std::move(response)));
}

std::string percentEncoded(std::string_view text) {
  static constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
  std::string result;
  for (const char character : text) {
    if (kPlain.find(character) != std::string_view::npos) {
      result += character;
    } else {
      result += fmt::format("%{:02X}", static_cast<unsigned char>(character));
    }
  }
  return result;
}

std::string entryPath(std::string const& name) { return "/v1/entries/" + percentEncoded(name); }

}  // namespace ctl
