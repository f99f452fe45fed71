#include "host/services/Printable.h"

#include <fmt/format.h>
#include <utf8.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kDelete = 0x7f;
constexpr unsigned int kLastControl = 0x9f;

bool isPlainCharacter(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return (byte >= kFirstPrintable && byte < kDelete) || byte == '\t';
}

void appendCharacter(char32_t character, std::string& out) {
  auto to = std::back_inserter(out);
  if (character == U'\n') {
    out += "\\n";
  } else if (character == U'\r') {
    out += "\\r";
  } else if (character == U'\t' || (character >= kFirstPrintable && character < kDelete) ||
             character > kLastControl) {
    utf8::unchecked::append(character, to);
  } else if (character <= kDelete) {
    fmt::format_to(to, "\\x{:02x}", static_cast<unsigned int>(character));
  } else {
    fmt::format_to(to, "\\u{:04x}", static_cast<unsigned int>(character));
  }
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  auto at = text.begin();
  while (at != text.end()) {
    const auto wellFormedEnd = utf8::find_invalid(at, text.end());
    while (at != wellFormedEnd) appendCharacter(utf8::unchecked::next(at), out);
    if (at == text.end()) break;
    fmt::format_to(std::back_inserter(out), "\\x{:02x}", static_cast<unsigned char>(*at));
    ++at;
  }
  return out;
}

bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), isPlainCharacter);
}
