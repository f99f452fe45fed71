#pragma once

#include <string>

#include "framework/PApi.h"
#include "framework/PLiteral.h"

/// A wide text that owns its characters; see `PLiteral` for what a text is.
///
/// Not synchronised. Operations that copy text may throw `std::bad_alloc` and
/// then leave the object as it was.
class VESK_API PString : public PLiteral {
 public:
  PString() noexcept;
  /// Copies the text. Implicit for the same reason as the view's constructor.
  PString(PLiteral const& text);
  PString(const wchar_t* text);
  PString(PString const& other);
  PString(PString&& other) noexcept;
  ~PString() = default;

  PString& operator=(PLiteral const& text);
  PString& operator=(const wchar_t* text);
  PString& operator=(PString const& other);
  PString& operator=(PString&& other) noexcept;

  /// Adds `text` at the end; `text` may be a view of this very string.
  void append(PLiteral const& text);

  /// Makes the text empty.
  void clear() noexcept;

 private:
  void view() noexcept;

  std::wstring fOwned;
};
