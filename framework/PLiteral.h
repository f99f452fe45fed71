#pragma once

#include <cstddef>

#include "framework/PApi.h"

/// A wide text that somebody else owns: a literal, or the text of a `PString`.
///
/// A character is one Unicode code point of 32 bits, and the text ends with a
/// null character. A `PLiteral` is a view: it stays valid as long as the text
/// that it was made from, and a copy of it views the same text.
///
/// Operations take `PLiteral const&` for texts that they read, so a wide literal
/// and a `PString` can be passed alike.
class VESK_API PLiteral {
 public:
  /// The empty text.
  PLiteral() noexcept;

  /// Views `text`, which must outlive this object; null is the empty text.
  /// Implicit, so that a wide literal can stand wherever a text is read.
  PLiteral(const wchar_t* text) noexcept;

  /// The text, never null, ending with a null character.
  const wchar_t* c_str() const noexcept { return fText; }

  /// Number of characters before the closing null.
  std::size_t length() const noexcept { return fLength; }

  bool isEmpty() const noexcept { return fLength == 0; }

  /// Exact comparison, case included.
  bool operator==(PLiteral const& other) const noexcept;

  /// Strict total order by code point, a prefix before the longer text.
  bool operator<(PLiteral const& other) const noexcept;

 protected:
  PLiteral(const wchar_t* text, std::size_t length) noexcept : fText(text), fLength(length) {}

  const wchar_t* fText;
  std::size_t fLength;
};
