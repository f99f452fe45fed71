#pragma once

#include <optional>
#include <string>

#include "host/check/Finding.h"
#include "host/services/TomlFile.h"

/// One table of a file, as the watchdog reads it: what it cannot read is absent.
class KeyTable {
 public:
  /// @param file, findings outlive this object.
  /// @param table dotted, without a dot at its end; empty for the top of the file.
  KeyTable(TomlFile const& file, std::string table, Findings& findings);

  std::string const& table() const { return fTable; }
  std::string fullKey(std::string_view key) const;

  /// What stands under the key, whatever it is; null for nothing.
  ConfigEntry const* entry(std::string_view key) const;

  /// The first value inside an inner table; null when there is no such table.
  ConfigEntry const* firstInside(std::string_view key) const;

  bool isTrue(std::string_view key) const;
  std::optional<int> integer(std::string_view key) const;

  /// A text without a null in it.
  std::string const* text(std::string_view key) const;

  void warnAtKey(std::string_view key, std::string const& what);
  void warnAtValue(std::string_view key, std::string const& what);
  void add(Severity severity, FilePosition position, std::string_view key, std::string what);

 private:
  TomlFile const& fFile;
  std::string fTable;
  Findings& fFindings;
};
