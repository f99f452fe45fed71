#include "host/control/Routes.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "host/check/NearestName.h"
#include "host/control/HttpTarget.h"
#include "host/control/JsonViews.h"

namespace {

using Code = ApiError::Code;

struct CodeRow {
  unsigned int status;
  const char* word;
};

/// In the order of the codes.
constexpr std::array<CodeRow, 10> kCodes = {{
    {400, "bad_request"},
    {400, "unknown_field"},
    {400, "bad_value"},
    {404, "not_found"},
    {405, "bad_method"},
    {409, "conflict"},
    {413, "too_large"},
    {422, "refused"},
    {500, "internal"},
    {503, "unavailable"},
}};

/// Compares a path with the one of a route. @param name set to what "*" stands for.
bool fits(std::vector<std::string> const& path, std::string_view pattern, std::string& name) {
  for (std::string const& part : path) {
    if (pattern.empty()) return false;
    pattern.remove_prefix(1);
    const std::string_view wanted = pattern.substr(0, pattern.find('/'));
    if (wanted == "*" ? part.empty() : part != wanted) return false;
    if (wanted == "*") name = part;
    pattern.remove_prefix(wanted.size());
  }
  return pattern.empty();
}

/// The first argument that the route does not know.
std::optional<std::string> unknownArgument(Route const& route, HttpTarget const& target) {
  for (auto const& [argument, value] : target.query) {
    const bool isKnown = std::ranges::find(route.arguments, argument) != route.arguments.end();
    if (!isKnown || argument.empty()) return argument;
  }
  return std::nullopt;
}

HttpAnswer refuseArgument(Route const& route, std::string const& argument) {
  std::vector<std::string_view> known;
  std::ranges::copy_if(route.arguments, std::back_inserter(known),
                       [](std::string_view candidate) { return !candidate.empty(); });
  return refuse(Code::unknownField,
                fmt::format("unknown argument `{}'{}", argument, didYouMean(argument, known, "")));
}

}  // namespace

HttpAnswer answerOf(ApiResult const& result, unsigned int status) {
  HttpAnswer answer;
  if (auto const* error = std::get_if<ApiError>(&result)) {
    CodeRow const& row = kCodes.at(static_cast<std::size_t>(error->code));
    answer.status = row.status;
    answer.body = textOf(errorJson(row.word, error->text)) + "\n";
  } else {
    answer.status = status;
    answer.body = textOf(std::get<nlohmann::json>(result)) + "\n";
  }
  return answer;
}

HttpAnswer refuse(Code code, std::string text) { return answerOf(ApiError{code, std::move(text)}); }

HttpAnswer answerBy(std::span<Route const> routes, ControlApi const& api,
                    HttpRequest const& request) {
  if (request.isTooLarge) return refuse(Code::tooLarge, "the body is too large");
  std::string cause;
  auto target = parseTarget(request.target, cause);
  if (!target) return refuse(Code::badRequest, std::move(cause));
  const bool isGet = request.method == "GET" || request.method == "HEAD";
  std::string name;
  std::string allowed;
  for (Route const& route : routes) {
    if (!fits(target->path, route.path, name)) continue;
    if (isGet ? route.method == "GET" : route.method == request.method) {
      if (const auto argument = unknownArgument(route, *target)) {
        return refuseArgument(route, *argument);
      }
      return route.answer({api, request, std::move(name), std::move(target->query)});
    }
    allowed += fmt::format("{}{}{}", allowed.empty() ? "" : ", ", route.method,
                           route.method == "GET" ? ", HEAD" : "");
  }
  if (allowed.empty()) return refuse(Code::notFound, "there is no such path");
  HttpAnswer answer = refuse(Code::badMethod, fmt::format("the path takes {}", allowed));
  answer.allow = std::move(allowed);
  return answer;
}
