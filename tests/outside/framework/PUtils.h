#pragma once
#include "framework/PString.h"

struct PUtils {
  static int int32ToStr(int value, PString& text) {
    text = std::to_wstring(value).c_str();
    return 0;
  }
};
