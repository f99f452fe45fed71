#pragma once
#include "framework/PString.h"

struct PUtils {
  static int int32ToStr(int value, PString& text) {
    const std::wstring digits = std::to_wstring(value);
    text = digits.c_str();
    return static_cast<int>(digits.size());
  }
};
