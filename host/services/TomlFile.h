#pragma once

#include <string>
#include <variant>

#include "host/services/ConfigValue.h"

/// A TOML file that was read and parsed.
struct TomlFile {
  std::string path;  ///< as it was given, for messages
  ConfigEntries entries;

  /// Takes a top-level table out, with all that stands in it.
  /// @return its entries, under their full keys.
  ConfigEntries takeTable(std::string const& name);
};

/// Why there is no such file to work with.
struct TomlFailure {
  int code;  ///< a negated errno; -EINVAL when the content is wrong, -EPERM when it is not trusted
  std::string message;    ///< begins with the file, and the place where it is wrong
  FilePosition position;  ///< where the content is wrong
  std::string cause;      ///< the message without its beginning
};

/// Reads a whole file, if it is trusted (host/trust/TrustedPath.h). A key with a dot in it stands
/// quoted in the entries, so that it is not taken for a table.
std::variant<TomlFile, TomlFailure> readTomlFile(std::string const& path);
