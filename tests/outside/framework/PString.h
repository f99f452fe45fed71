#pragma once
#include <memory>
#include <string>

#include "framework/PLiteral.h"

struct PString : PLiteral {
  PString(const wchar_t* text = L"") : fShared(std::make_shared<std::wstring>(text)) {}
  PString(PLiteral const& text) : PString(text.c_str()) {}
  const wchar_t* c_str() const override { return fShared->c_str(); }
  void append(PLiteral const& text) { *this = (*fShared + text.c_str()).c_str(); }
  void clear() { *this = PString(); }

  std::shared_ptr<const std::wstring> fShared;
};
