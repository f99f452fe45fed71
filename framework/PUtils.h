#pragma once

#include <string>
#include <string_view>

#include "framework/PApi.h"
#include "framework/PLiteral.h"
#include "framework/PString.h"

/// Conversions of texts. All are safe to call from any thread.
class VESK_API PUtils {
 public:
  PUtils() = delete;

  /// Writes `value` as plain decimal digits, with a leading minus where it is
  /// negative and no leading zeros.
  /// @return 0, or `PResult::outOfMemory` with `text` unchanged.
  static int int32ToStr(int value, PString& text);

  /// UTF-8 of `text`. A character that is no Unicode scalar value becomes
  /// U+FFFD. May throw `std::bad_alloc`.
  static std::string toUtf8(PLiteral const& text);

  /// The text of `bytes` read as UTF-8. Each ill-formed sequence becomes one
  /// U+FFFD, and the text ends at the first null byte, as every text does.
  /// May throw `std::bad_alloc`.
  static PString fromUtf8(std::string_view bytes);
};
