#include "host/services/TomlFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <toml++/toml.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/services/TomlNesting.h"
#include "host/trust/TrustedPath.h"

namespace {

/// More than any configuration; less than what an endless device would fill.
constexpr std::size_t kLargestFile = std::size_t{1} << 20U;

/// Of all full keys together: a long one of a table is part of every key in it.
constexpr std::size_t kMostKeyBytes = 16 * kLargestFile;

Distrust failure(int error) { return {-error, std::generic_category().message(error)}; }

/// @return why the file cannot be read.
std::optional<Distrust> readWhole(std::string const& path, std::string& content) {
  auto opened = openTrusted(path, O_RDONLY | O_NOCTTY);
  if (auto* reason = std::get_if<Distrust>(&opened); reason != nullptr) return std::move(*reason);
  const int file = std::get<UniqueFd>(opened).get();
  std::array<char, 65536> chunk{};
  while (true) {
    const ssize_t count = ::read(file, chunk.data(), chunk.size());
    if (count == 0) return std::nullopt;
    if (count < 0 && errno != EINTR) return failure(errno);
    if (count > 0) content.append(chunk.data(), static_cast<std::size_t>(count));
    if (content.size() > kLargestFile) {
      return Distrust{-EFBIG,
                      fmt::format("longer than {} bytes, the most that is read", kLargestFile)};
    }
  }
}

FilePosition positionOf(toml::source_region const& region) {
  return {region.begin.line, region.begin.column};
}

ConfigValue::Content contentOf(toml::node const& node);

ConfigValue::Array elementsOf(toml::array const& array) {
  ConfigValue::Array elements;
  for (toml::node const& element : array) {
    elements.push_back({contentOf(element), positionOf(element.source())});
  }
  return elements;
}

ConfigValue::Content contentOf(toml::node const& node) {
  switch (node.type()) {
    case toml::node_type::boolean:
      return node.as_boolean()->get();
    case toml::node_type::integer:
      return static_cast<long long>(node.as_integer()->get());
    case toml::node_type::floating_point:
      return node.as_floating_point()->get();
    case toml::node_type::string:
      return node.as_string()->get();
    case toml::node_type::array:
      return elementsOf(*node.as_array());
    case toml::node_type::table:
      return ConfigValue::Other{"a table"};
    default:
      return ConfigValue::Other{"a date or time"};
  }
}

std::string keyPart(std::string_view text) {
  const bool plain = !text.empty() && text.find_first_of(".\"") == std::string_view::npos;
  return plain ? std::string(text) : fmt::format("\"{}\"", text);
}

/// Gathers what stands in a table under full keys.
class Collector {
 public:
  /// @return false when the keys are longer than is sensible.
  bool collect(toml::table const& table, std::string const& prefix) {
    for (auto const& [key, node] : table) {
      const std::string name = prefix + keyPart(key.str());
      place = positionOf(key.source());
      fKeyBytes += name.size();
      if (fKeyBytes > kMostKeyBytes) return false;
      if (toml::table const* inner = node.as_table(); inner != nullptr) {
        if (!collect(*inner, name + '.')) return false;
      } else {
        entries[name] = {{contentOf(node), positionOf(node.source())}, place};
      }
    }
    return true;
  }

  ConfigEntries entries;
  FilePosition place;  ///< of the key that was looked at last

 private:
  std::size_t fKeyBytes = 0;
};

TomlFailure failureAt(std::string const& path, FilePosition position, std::string const& cause) {
  return {-EINVAL, atPosition(path, position) + cause, position, cause};
}

}  // namespace

ConfigEntries TomlFile::takeTable(std::string const& name) {
  const std::string prefix = name + '.';
  ConfigEntries taken;
  for (auto at = entries.lower_bound(name); at != entries.end();) {
    const auto next = std::next(at);
    if (at->first == name || at->first.starts_with(prefix)) {
      taken.insert(entries.extract(at));
    } else if (at->first > prefix) {
      break;
    }
    at = next;
  }
  return taken;
}

std::variant<TomlFile, TomlFailure> readTomlFile(std::string const& path) {
  std::string content;
  if (const auto reason = readWhole(path, content)) {
    return TomlFailure{reason->error, path + ": " + reason->text, {}, reason->text};
  }
  if (const auto place = tooDeepPlace(content)) {
    return failureAt(path, *place,
                     fmt::format("more than {} levels within each other", kDeepestToml));
  }
  try {
    Collector collector;
    if (!collector.collect(toml::parse(content), "")) {
      return failureAt(path, collector.place, "the keys up to here are too long in all");
    }
    return TomlFile{path, std::move(collector.entries)};
  } catch (toml::parse_error const& error) {
    return failureAt(path, positionOf(error.source()), std::string(error.description()));
  }
}
