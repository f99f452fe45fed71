#include "host/services/TomlConfig.h"

#include <fmt/format.h>

#include <cerrno>
#include <limits>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PUtils.h"

TomlConfig::TomlConfig(PLiteral const& id, std::shared_ptr<ConfigDocument> document)
    : fId(id), fDocument(std::move(document)) {}

TomlConfig::~TomlConfig() {
  if (fDocument.use_count() != 1) return;
  static_cast<void>(pGuarded([this] {
    fDocument->reportUnused();
    return PResult::ok;
  }));
}

int TomlConfig::getID(PString& id) const {
  return pGuarded([&] {
    id = fId;
    return PResult::ok;
  });
}

bool TomlConfig::contains(PLiteral const& key) const {
  bool found = false;
  static_cast<void>(pGuarded([&] {
    const std::string name = PUtils::toUtf8(key);
    found = fDocument->ask(name) != nullptr || fDocument->firstOf(name) != nullptr;
    return PResult::ok;
  }));
  return found;
}

template <class Store>
int TomlConfig::read(PLiteral const& key, std::string const& expected, Store&& store) {
  return pGuarded([&] {
    const std::string name = PUtils::toUtf8(key);
    if (ConfigEntry const* entry = fDocument->ask(name); entry != nullptr) {
      const int res = store(entry->value.content);
      if (res != PResult::ok) {
        fDocument->warnUnreadable(name, entry->value.position, describe(entry->value), expected);
      }
      return res;
    }
    ConfigEntry const* inner = fDocument->firstOf(name);
    if (inner == nullptr) return PResult::notFound;
    fDocument->warnUnreadable(name, inner->keyPosition, "a table", expected);
    return -EINVAL;
  });
}

template <class Integer>
int TomlConfig::readInteger(PLiteral const& key, Integer& value) {
  using Limits = std::numeric_limits<Integer>;
  const auto expected = fmt::format("an integer from {} to {}", Limits::min(), Limits::max());
  return read(key, expected, [&value](ConfigValue::Content const& content) {
    auto const* number = std::get_if<long long>(&content);
    if (number == nullptr) return -EINVAL;
    if (!std::in_range<Integer>(*number)) return -ERANGE;
    value = static_cast<Integer>(*number);
    return PResult::ok;
  });
}

int TomlConfig::getString(PLiteral const& key, PString& value) {
  return read(key, "a string without null characters",
              [&value](ConfigValue::Content const& content) {
                auto const* text = std::get_if<std::string>(&content);
                // A text ends at its first null, so what follows would be lost unnoticed.
                if (text == nullptr || text->find('\0') != std::string::npos) return -EINVAL;
                value = PUtils::fromUtf8(*text);
                return PResult::ok;
              });
}

int TomlConfig::getInt(PLiteral const& key, int& value) { return readInteger(key, value); }

int TomlConfig::getUInt(PLiteral const& key, unsigned int& value) {
  return readInteger(key, value);
}

int TomlConfig::getLong(PLiteral const& key, long long& value) { return readInteger(key, value); }

int TomlConfig::getDouble(PLiteral const& key, double& value) {
  return read(key, "a number", [&value](ConfigValue::Content const& content) {
    if (auto const* real = std::get_if<double>(&content); real != nullptr) {
      value = *real;
    } else if (auto const* whole = std::get_if<long long>(&content); whole != nullptr) {
      value = static_cast<double>(*whole);
    } else {
      return -EINVAL;
    }
    return PResult::ok;
  });
}

int TomlConfig::getBool(PLiteral const& key, bool& value) {
  return read(key, "a boolean", [&value](ConfigValue::Content const& content) {
    auto const* truth = std::get_if<bool>(&content);
    if (truth == nullptr) return -EINVAL;
    value = *truth;
    return PResult::ok;
  });
}
