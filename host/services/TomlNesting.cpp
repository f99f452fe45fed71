#include "host/services/TomlNesting.h"

#include <algorithm>

namespace {

/// The end of the string, in quotes of any kind, that begins at `begin`.
std::size_t endOfString(std::string_view text, std::size_t begin) {
  constexpr std::size_t kTriple = 3;
  const char quote = text[begin];
  const std::size_t run = std::min(text.find_first_not_of(quote, begin), text.size()) - begin;
  if (run == 2 || run == 2 * kTriple) return begin + run;  // empty
  const bool isLong = run >= kTriple;
  std::size_t at = begin + (isLong ? kTriple : 1);
  while (at < text.size()) {
    if (text[at] == '\\' && quote == '"') {
      at += 2;
      continue;
    }
    if (text[at] == '\n' && !isLong) return at;
    const std::size_t end = std::min(text.find_first_not_of(quote, at), text.size());
    // A long string may end with quotes of its own.
    if (end - at >= kTriple || (end > at && !isLong)) return isLong ? end : at + 1;
    at = std::max(end, at + 1);
  }
  return text.size();
}

/// Columns count characters, as the parser's do.
FilePosition placeOf(std::string_view text, std::size_t at) {
  const std::string_view before = text.substr(0, at);
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 in the first line
  const auto column = std::ranges::count_if(before.substr(lineStart), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
  });
  return {static_cast<unsigned int>(std::ranges::count(before, '\n') + 1),
          static_cast<unsigned int>(column + 1)};
}

}  // namespace

std::optional<FilePosition> tooDeepPlace(std::string_view text) {
  constexpr std::string_view kEndsOfKeys = "=,[]{}\n";
  unsigned int dots = 0;
  unsigned int brackets = 0;
  for (std::size_t at = 0; at < text.size();) {
    const char character = text[at];
    if (character == '"' || character == '\'') {
      at = endOfString(text, at);
      continue;
    }
    if (character == '#') {
      at = std::min(text.find('\n', at), text.size());
      continue;
    }
    if (character == '.') ++dots;
    if (kEndsOfKeys.find(character) != std::string_view::npos) dots = 0;
    if (character == '[' || character == '{') ++brackets;
    if ((character == ']' || character == '}') && brackets > 0) --brackets;
    if (dots > kDeepestToml || brackets > kDeepestToml) return placeOf(text, at);
    ++at;
  }
  return std::nullopt;
}
