#include "host/process/CommandLine.h"

#include <optional>

namespace {

constexpr std::string_view kBlanks = " \t\n";
constexpr std::string_view kEscapableInQuotes = "\"\\$`\n";

bool holds(std::string_view set, char character) {
  return set.find(character) != std::string_view::npos;
}

/// The text up to the closing quote, which is taken out of `rest` as well.
bool takeQuoted(char quote, std::string_view& rest, std::string& word) {
  while (!rest.empty()) {
    const char character = rest.front();
    rest.remove_prefix(1);
    if (character == quote) return true;
    const bool isEscape = quote == '"' && character == '\\' && !rest.empty() &&
                          holds(kEscapableInQuotes, rest.front());
    word += isEscape ? rest.front() : character;
    if (isEscape) rest.remove_prefix(1);
  }
  return false;
}

}  // namespace

bool splitCommandLine(std::string_view text, std::vector<std::string>& words) {
  words.clear();
  std::optional<std::string> word;
  const auto endWord = [&] {
    if (word) words.push_back(*std::move(word));
    word.reset();
  };
  while (!text.empty()) {
    const char character = text.front();
    text.remove_prefix(1);
    if (holds(kBlanks, character)) {
      endWord();
      continue;
    }
    if (!word) word.emplace();
    if (character == '\'' || character == '"') {
      if (!takeQuoted(character, text, *word)) return false;
    } else if (character == '\\') {
      if (text.empty()) return false;
      *word += text.front();
      text.remove_prefix(1);
    } else {
      *word += character;
    }
  }
  endWord();
  return true;
}
