#include "host/process/KeptFile.h"

#include "framework/PResult.h"

int KeptFile::read(ProcessTree const& tree, unsigned int pid, const char* file,
                   DescriptorBudget* budget, std::span<char> buffer, std::string_view& text) {
  if (fDescriptor) return ProcessTree::readFront(fDescriptor.get(), buffer, text);
  UniqueFd opened;
  int res = tree.open(pid, file, opened);
  if (res == PResult::ok) res = ProcessTree::readFront(opened.get(), buffer, text);
  if (res == PResult::ok && budget != nullptr && budget->take()) {
    fDescriptor = std::move(opened);
    fBudget = budget;
  }
  return res;
}

void KeptFile::close() noexcept {
  fDescriptor.reset();
  if (fBudget != nullptr) std::exchange(fBudget, nullptr)->giveBack();
}
