#include "host/services/TomlFile.h"

#include <fmt/format.h>
#include <toml++/toml.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/services/TomlNesting.h"

namespace {

/// More than any configuration; less than what an endless device would fill.
constexpr std::size_t kLargestFile = std::size_t{1} << 20U;

/// Of all full keys together: a long one of a table is part of every key in it.
constexpr std::size_t kMostKeyBytes = 16 * kLargestFile;

/// @return 0 or a negated errno.
int readWhole(std::string const& path, std::string& content) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"),
                                                             &std::fclose);
  if (file == nullptr) return -errno;
  std::array<char, 65536> chunk{};
  while (const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), file.get())) {
    content.append(chunk.data(), count);
    if (content.size() > kLargestFile) return -EFBIG;
  }
  return std::ferror(file.get()) != 0 ? -errno : 0;
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
  if (const int res = readWhole(path, content); res != 0) {
    const std::string cause = std::generic_category().message(-res);
    return TomlFailure{res, path + ": " + cause, {}, cause};
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
