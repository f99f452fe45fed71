#pragma once

#include <span>
#include <string_view>
#include <utility>

#include "host/process/DescriptorBudget.h"
#include "host/process/ProcessTree.h"
#include "host/process/UniqueFd.h"

/// A file of one process's folder, never an empty one, that is read again and again.
///
/// Its descriptor is kept open within a budget. That is more than a saving: a kept
/// descriptor answers `PResult::notFound` once that very process is gone, even if
/// its number has come to another. One thread at a time.
class KeptFile {
 public:
  KeptFile() noexcept = default;
  KeptFile(KeptFile&& other) noexcept
      : fDescriptor(std::move(other.fDescriptor)), fBudget(std::exchange(other.fBudget, nullptr)) {}
  KeptFile& operator=(KeptFile&& other) noexcept {
    if (this != &other) {
      close();
      fDescriptor = std::move(other.fDescriptor);
      fBudget = std::exchange(other.fBudget, nullptr);
    }
    return *this;
  }
  ~KeptFile() { close(); }

  /// Reads the file from its beginning, opening it first where it is not kept.
  /// @param budget outlives this object; null to keep nothing.
  /// @param text set to what was read, inside `buffer`.
  /// @return 0, `PResult::notFound`, or a negated errno.
  int read(ProcessTree const& tree, unsigned int pid, const char* file, DescriptorBudget* budget,
           std::span<char> buffer, std::string_view& text);

  bool isKept() const noexcept { return static_cast<bool>(fDescriptor); }
  void close() noexcept;

 private:
  UniqueFd fDescriptor;
  DescriptorBudget* fBudget = nullptr;  ///< to be given back to
};
