#pragma once

#include <optional>
#include <string_view>

#include "host/veskctl/Result.h"

namespace ctl {

/// Standard output, or what stands for it.
class Output {
 public:
  /// @param descriptor outlives this object.
  explicit Output(int descriptor) : fDescriptor(descriptor) {}

  /// Writes all of it, at once.
  /// @return why not: without a text when nobody reads any more.
  std::optional<Failure> write(std::string_view text) const;

  int descriptor() const { return fDescriptor; }

 private:
  int fDescriptor;
};

}  // namespace ctl
