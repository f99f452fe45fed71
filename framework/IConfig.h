#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"
#include "framework/PString.h"

/// One opened configuration: values under dotted keys such as "a.b.c".
///
/// Every read returns 0 and sets its output, or returns a negative code and
/// leaves it untouched: `PResult::notFound` when there is no such key, -EINVAL
/// when its value is of another type, -ERANGE when a number does not fit. Numbers
/// and truth values are never converted into each other. Not synchronised.
class IConfig : public IBase {
 public:
  /// The identifier or path under which the configuration was opened.
  virtual int getID(PString& id) const = 0;

  /// Whether anything stands under `key`, a value or further keys.
  virtual bool contains(PLiteral const& key) const = 0;

  /// Reads a text.
  virtual int getString(PLiteral const& key, PString& value) = 0;

  /// Reads a whole number of 32 bits with sign.
  virtual int getInt(PLiteral const& key, int& value) = 0;

  /// Reads a whole number of 32 bits without sign.
  virtual int getUInt(PLiteral const& key, unsigned int& value) = 0;

  /// Reads a whole number of 64 bits with sign.
  virtual int getLong(PLiteral const& key, long long& value) = 0;

  /// Reads a floating-point number; a whole number will do.
  virtual int getDouble(PLiteral const& key, double& value) = 0;

  /// Reads a truth value.
  virtual int getBool(PLiteral const& key, bool& value) = 0;
};
