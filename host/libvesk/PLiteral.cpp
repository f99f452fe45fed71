#include "framework/PLiteral.h"

#include <algorithm>
#include <cwchar>

PLiteral::PLiteral() noexcept : PLiteral(L"", 0) {}

PLiteral::PLiteral(const wchar_t* text) noexcept
    : PLiteral(text != nullptr ? text : L"", text != nullptr ? std::wcslen(text) : 0) {}

bool PLiteral::operator==(PLiteral const& other) const noexcept {
  return fLength == other.fLength && std::wmemcmp(fText, other.fText, fLength) == 0;
}

bool PLiteral::operator<(PLiteral const& other) const noexcept {
  const int order = std::wmemcmp(fText, other.fText, std::min(fLength, other.fLength));
  return order != 0 ? order < 0 : fLength < other.fLength;
}
