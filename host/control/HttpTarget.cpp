#include "host/control/HttpTarget.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

std::optional<std::string> decode(std::string_view text) {
  std::string decoded;
  while (!text.empty()) {
    if (text.front() != '%') {
      decoded += text.front();
      text.remove_prefix(1);
      continue;
    }
    unsigned char byte = 0;
    const std::string_view digits = text.substr(1, 2);
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (error != std::errc() || end != digits.data() + 2) return std::nullopt;
    decoded += static_cast<char>(byte);
    text.remove_prefix(3);
  }
  return decoded;
}

/// Takes what is before the separator off the text, and the separator.
std::string_view takeUpTo(char separator, std::string_view& text) {
  const std::string_view taken = text.substr(0, text.find(separator));
  text.remove_prefix(taken.size() < text.size() ? taken.size() + 1 : taken.size());
  return taken;
}

/// Leaves "/path" of "http://host/path".
std::string_view withoutAuthority(std::string_view target) {
  const std::size_t slashes = target.find("://");
  if (slashes == std::string_view::npos || target.find_first_of("/?") < slashes) return target;
  target.remove_prefix(slashes + 3);
  return target.substr(std::min(target.find_first_of("/?"), target.size()));
}

constexpr const char* kBadPercent = "a percent sign without two hexadecimal digits after it";

}  // namespace

std::optional<HttpTarget> parseTarget(std::string_view target, std::string& cause) {
  const auto fail = [&cause](std::string why) {
    cause = std::move(why);
    return std::nullopt;
  };
  HttpTarget parsed;
  target = withoutAuthority(target);
  std::string_view path = takeUpTo('?', target);
  if (path.starts_with('/')) path.remove_prefix(1);
  // A slash at the end makes another path.
  for (bool isMore = true; isMore;) {
    isMore = path.find('/') != std::string_view::npos;
    auto part = decode(takeUpTo('/', path));
    if (!part) return fail(kBadPercent);
    parsed.path.push_back(std::move(*part));
  }
  while (!target.empty()) {
    std::string_view argument = takeUpTo('&', target);
    if (argument.empty()) continue;
    auto name = decode(takeUpTo('=', argument));
    auto value = decode(argument);
    if (!name || !value) return fail(kBadPercent);
    const auto [place, isNew] = parsed.query.emplace(std::move(*name), std::move(*value));
    if (!isNew) return fail(fmt::format("the argument `{}' is given twice", place->first));
  }
  return parsed;
}
