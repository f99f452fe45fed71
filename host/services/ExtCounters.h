#pragma once

#include <map>
#include <mutex>
#include <string>

#include "framework/IExtCounters.h"
#include "framework/PString.h"
#include "host/RefCounted.h"

/// Named counters. Any thread may call.
class ExtCounters : public RefCounted<IExtCounters> {
 public:
  ExtCounters() = default;

  /// @return 0, or -EINVAL for the empty name.
  int increment(PLiteral const& name) override;
  int getValue(PLiteral const& name, unsigned long long& value) const override;

  /// All of them, by name in UTF-8.
  std::map<std::string, unsigned long long> values() const;

 private:
  ~ExtCounters() override = default;

  mutable std::mutex fMutex;
  std::map<PString, unsigned long long> fValues;
};
