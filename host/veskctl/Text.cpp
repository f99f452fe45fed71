#include "host/veskctl/Text.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cwchar>

#include "host/services/Printable.h"

namespace ctl {

namespace {

constexpr char32_t kFirstBeyondAscii = 0x80;

/// In the order of the colours.
constexpr std::array<const char*, 6> kSequences = {"",         "\x1b[1m",  "\x1b[2m",
                                                   "\x1b[32m", "\x1b[33m", "\x1b[1;31m"};
constexpr const char* kPlain = "\x1b[0m";

/// The widths of all characters, whatever the user's locale is; none where the system
/// does not have it, and then each character takes one column.
class WidthLocale {
 public:
  WidthLocale() : fLocale(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
  ~WidthLocale() {
    if (fLocale != nullptr) ::freelocale(fLocale);
  }
  WidthLocale(WidthLocale const&) = delete;
  WidthLocale& operator=(WidthLocale const&) = delete;

  std::size_t widthOf(char32_t character) const {
    if (character < kFirstBeyondAscii || fLocale == nullptr) return 1;
    const locale_t former = ::uselocale(fLocale);
    const int width = ::wcwidth(static_cast<wchar_t>(character));
    ::uselocale(former);
    return width >= 0 ? static_cast<std::size_t>(width) : 1;
  }

 private:
  locale_t fLocale;
};

std::size_t widthOf(char32_t character) {
  static const WidthLocale locale;
  return locale.widthOf(character);
}

}  // namespace

std::string painted(std::string_view text, Colour colour, View const& view) {
  if (!view.hasColours || colour == Colour::none || text.empty()) return std::string(text);
  return kSequences.at(static_cast<std::size_t>(colour)) + std::string(text) + kPlain;
}

std::string shown(std::string_view text) {
  std::string result = printable(text);
  std::replace(result.begin(), result.end(), '\t', ' ');
  return result;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  for (auto at = text.begin(); at != text.end();) width += widthOf(utf8::unchecked::next(at));
  return width;
}

std::string cut(std::string_view text, std::size_t width, View const& view) {
  if (displayWidth(text) <= width) return std::string(text);
  if (width == 0) return "";
  auto at = text.begin();
  for (std::size_t taken = 1; at != text.end();) {  // the mark takes one
    auto next = at;
    taken += widthOf(utf8::unchecked::next(next));
    if (taken > width) break;
    at = next;
  }
  return std::string(text.begin(), at) + (view.isUtf8 ? "\u2026" : "~");
}

std::string cutLines(std::string_view lines, View const& view) {
  if (view.width == 0) return std::string(lines);
  std::string result;
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    result += cut(lines.substr(0, end), view.width, view) + '\n';
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  return result;
}

}  // namespace ctl
