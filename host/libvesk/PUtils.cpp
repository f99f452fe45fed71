#include "framework/PUtils.h"

#include <utf8.h>

#include <iterator>

#include "framework/PGuard.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isScalarValue(char32_t character) {
  constexpr char32_t kLast = 0x10FFFF;
  constexpr char32_t kFirstSurrogate = 0xD800;
  constexpr char32_t kLastSurrogate = 0xDFFF;
  return character <= kLast && (character < kFirstSurrogate || character > kLastSurrogate);
}

}  // namespace

int PUtils::int32ToStr(int value, PString& text) {
  return pGuarded([&] {
    text = std::to_wstring(value).c_str();
    return PResult::ok;
  });
}

std::string PUtils::toUtf8(PLiteral const& text) {
  std::string bytes;
  bytes.reserve(text.length());
  for (std::size_t i = 0; i < text.length(); ++i) {
    const auto character = static_cast<char32_t>(text.c_str()[i]);
    utf8::append(isScalarValue(character) ? character : kReplacement, std::back_inserter(bytes));
  }
  return bytes;
}

PString PUtils::fromUtf8(std::string_view bytes) {
  bytes = bytes.substr(0, bytes.find('\0'));
  std::string wellFormed;
  utf8::replace_invalid(bytes.begin(), bytes.end(), std::back_inserter(wellFormed), kReplacement);
  std::wstring text;
  utf8::utf8to32(wellFormed.begin(), wellFormed.end(), std::back_inserter(text));
  return PString(text.c_str());
}
