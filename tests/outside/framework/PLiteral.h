#pragma once
#include <cwchar>

/// Its text is asked for through a virtual operation.
struct PLiteral {
  PLiteral(const wchar_t* text = L"") : fText(text) {}
  virtual ~PLiteral() = default;
  virtual const wchar_t* c_str() const { return fText; }
  bool isEmpty() const { return *c_str() == 0; }
  bool operator==(PLiteral const& other) const { return std::wcscmp(c_str(), other.c_str()) == 0; }
  bool operator<(PLiteral const& other) const { return std::wcscmp(c_str(), other.c_str()) < 0; }

  const wchar_t* fText;
};
