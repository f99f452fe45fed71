#include "host/services/ExtCounters.h"

#include <cerrno>

#include "framework/PGuard.h"
#include "framework/PUtils.h"

int ExtCounters::increment(PLiteral const& name) {
  return pGuarded([&] {
    if (name.isEmpty()) return -EINVAL;
    const std::lock_guard lock(fMutex);
    ++fValues[name];
    return PResult::ok;
  });
}

int ExtCounters::getValue(PLiteral const& name, unsigned long long& value) const {
  return pGuarded([&] {
    const std::lock_guard lock(fMutex);
    const auto found = fValues.find(name);
    if (found == fValues.end()) return PResult::notFound;
    value = found->second;
    return PResult::ok;
  });
}

std::map<std::string, unsigned long long> ExtCounters::values() const {
  const std::lock_guard lock(fMutex);
  std::map<std::string, unsigned long long> values;
  for (auto const& [name, value] : fValues) values[PUtils::toUtf8(name)] = value;
  return values;
}
