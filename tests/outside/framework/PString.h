#pragma once
#include <memory>
#include <string>

#include "framework/PLiteral.h"

/// Copies share one text until one of them gets another.
struct PString : PLiteral {
  PString(PLiteral const& text = {}) { *this = text; }
  PString& operator=(PLiteral const& text);
  const wchar_t* c_str() const override { return fShared->c_str(); }
  void append(PLiteral const& text) { *this = (*fShared + text.c_str()).c_str(); }
  void clear() { *this = PLiteral(); }

 private:
  std::shared_ptr<const std::wstring> fShared;
};
