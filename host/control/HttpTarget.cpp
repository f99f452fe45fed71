#include "host/control/HttpTarget.h"

#include <charconv>

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

}  // namespace

std::optional<HttpTarget> parseTarget(std::string_view target) {
  HttpTarget parsed;
  std::string_view path = takeUpTo('?', target);
  if (path.starts_with('/')) path.remove_prefix(1);
  // A slash at the end makes another path.
  for (bool isMore = true; isMore;) {
    isMore = path.find('/') != std::string_view::npos;
    auto part = decode(takeUpTo('/', path));
    if (!part) return std::nullopt;
    parsed.path.push_back(std::move(*part));
  }
  while (!target.empty()) {
    std::string_view argument = takeUpTo('&', target);
    if (argument.empty()) continue;
    auto name = decode(takeUpTo('=', argument));
    auto value = decode(argument);
    if (!name || !value) return std::nullopt;
    if (!parsed.query.emplace(std::move(*name), std::move(*value)).second) return std::nullopt;
  }
  return parsed;
}
