#pragma once
#include "framework/PString.h"

struct PUtils {
  static int int32ToStr(int value, PString& text);
};
