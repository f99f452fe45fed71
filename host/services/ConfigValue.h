#pragma once

#include <compare>
#include <map>
#include <string>
#include <variant>
#include <vector>

/// A place in a file, both counted from 1.
struct FilePosition {
  unsigned int line = 0;
  unsigned int column = 0;

  auto operator<=>(FilePosition const&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// One value of a configuration file.
struct ConfigValue {
  /// What nobody reads: dates, times, and tables within arrays.
  struct Other {
    const char* kind;
  };
  using Array = std::vector<ConfigValue>;
  using Content = std::variant<Other, bool, long long, double, std::string, Array>;

  Content content;
  FilePosition position;
};

/// A value and where its key stands.
struct ConfigEntry {
  ConfigValue value;
  FilePosition keyPosition;
};

/// Values by dotted key: `name = ...` in the table `[a.b]` is "a.b.name".
using ConfigEntries = std::map<std::string, ConfigEntry>;

/// Whether the two say the same, wherever they stand.
bool isSame(ConfigValue const& left, ConfigValue const& right);

/// The value in the words of a message: "a string", "the integer 7".
std::string describe(ConfigValue const& value);

/// The beginning of every message about a place in a file.
std::string atPosition(std::string const& path, FilePosition position);
