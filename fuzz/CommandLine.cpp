// Words, quoted in any of the ways that there are, come back as they were.

#include <vector>

#include "fuzz/Fuzz.h"
#include "host/process/CommandLine.h"

namespace {

bool isOneOf(std::string_view set, char character) {
  return set.find(character) != std::string_view::npos;
}

/// A piece of a word, as it stands between double quotes. @param ways which of the
/// backslashes that may be left out are.
std::string doubleQuoted(std::string const& piece, unsigned int ways) {
  std::string text = "\"";
  for (std::size_t i = 0; i < piece.size(); ++i) {
    const bool isBeforeEscapable = i + 1 == piece.size() || isOneOf("\"\\$`\n", piece[i + 1]);
    const bool isNeeded = piece[i] == '"' || (piece[i] == '\\' && isBeforeEscapable);
    const bool isAllowed = isOneOf("\"\\$`\n", piece[i]) && (ways & 1) != 0;
    if (isNeeded || isAllowed) text += '\\';
    text += piece[i];
  }
  return text + '"';
}

std::string quoted(std::string const& piece, unsigned int ways) {
  const bool isPlain = !piece.empty() && piece.find_first_of(" \t\n'\"\\") == std::string::npos;
  if (ways % 4 == 0 && isPlain) return piece;
  if (ways % 4 == 1 && piece.find('\'') == std::string::npos) return "'" + piece + "'";
  if (ways % 4 == 2 || piece.empty()) return doubleQuoted(piece, ways / 4);
  std::string text;
  for (const char character : piece) text += std::string("\\") + character;
  return text;
}

}  // namespace

FUZZ_TARGET(command_line) {
  std::vector<std::string> words;
  splitCommandLine(input, words);

  Input rest(input);
  std::vector<std::string> wanted;
  std::string text;
  while (!rest.rest().empty()) {
    const unsigned int way = rest.byte();
    const std::string piece = rest.take(way / 4 % 8);
    if (way >= 128 || wanted.empty()) {
      wanted.emplace_back();
      text += " \t\n"[way % 3];
    }
    wanted.back() += piece;
    text += quoted(piece, way);
  }
  REQUIRE(splitCommandLine(text, words));
  REQUIRE(words == wanted);
  for (const char* open : {"'", "\"", "\\", "\"\\\"", "'\\"}) {
    REQUIRE(!splitCommandLine(text + open, words));
  }
}
