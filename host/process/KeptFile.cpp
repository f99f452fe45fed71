#include "host/process/KeptFile.h"

#include <fcntl.h>
#include <sys/select.h>

#include "framework/PResult.h"

namespace {

/// Of a process that is there, no file that is kept is empty.
int readProcess(UniqueFd const& fd, std::span<char> buffer, std::string_view& text) {
  const int res = ProcessTree::readFront(fd.get(), buffer, text);
  return res == PResult::ok && text.empty() ? PResult::notFound : res;
}

}  // namespace

int KeptFile::read(ProcessTree const& tree, unsigned int pid, const char* file,
                   DescriptorBudget* budget, std::span<char> buffer, std::string_view& text) {
  if (fDescriptor) return readProcess(fDescriptor, buffer, text);
  UniqueFd opened;
  int res = tree.open(pid, file, opened);
  if (res == PResult::ok) res = readProcess(opened, buffer, text);
  if (res == PResult::ok && budget != nullptr && budget->take()) {
    // Low numbers are for those who cannot do with high ones, as select() cannot.
    UniqueFd high(::fcntl(opened.get(), F_DUPFD_CLOEXEC, FD_SETSIZE));
    fDescriptor = high ? std::move(high) : std::move(opened);
    fBudget = budget;
  }
  return res;
}

void KeptFile::close() noexcept {
  fDescriptor.reset();
  if (fBudget != nullptr) std::exchange(fBudget, nullptr)->giveBack();
}
