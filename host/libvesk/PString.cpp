#include "framework/PString.h"

#include <utility>

void PString::view() noexcept {
  fText = fOwned.c_str();
  fLength = fOwned.size();
}

PString::PString() noexcept { view(); }

PString::PString(PLiteral const& text) : fOwned(text.c_str(), text.length()) { view(); }

PString::PString(const wchar_t* text) : PString(PLiteral(text)) {}

PString::PString(PString const& other) : PLiteral(other), fOwned(other.fOwned) { view(); }

PString::PString(PString&& other) noexcept : fOwned(std::move(other.fOwned)) {
  other.clear();
  view();
}

PString& PString::operator=(PLiteral const& text) {
  // A copy first: `text` may be a view of this very string.
  std::wstring copy(text.c_str(), text.length());
  fOwned = std::move(copy);
  view();
  return *this;
}

PString& PString::operator=(const wchar_t* text) { return *this = PLiteral(text); }

PString& PString::operator=(PString const& other) {
  return *this = static_cast<PLiteral const&>(other);
}

PString& PString::operator=(PString&& other) noexcept {
  if (this != &other) {
    fOwned = std::move(other.fOwned);
    other.clear();
    view();
  }
  return *this;
}

void PString::append(PLiteral const& text) {
  fOwned.append(text.c_str(), text.length());
  view();
}

void PString::clear() noexcept {
  fOwned.clear();
  view();
}
