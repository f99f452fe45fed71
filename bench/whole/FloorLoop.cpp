#include "bench/whole/FloorLoop.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "bench/whole/CpuClock.h"

namespace {

constexpr std::size_t kEntriesSize = 64 * 1024;

/// What the kernel's getdents64 fills its buffer with.
struct KernelEntry {
  std::uint64_t inode;
  std::int64_t offset;
  unsigned short length;
  unsigned char type;
  char name[1];
};

}  // namespace

FloorLoop::FloorLoop(std::vector<pid_t> const& watched)
    : fProc(::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      fEntries(kEntriesSize),
      fWatched(watched.size()) {
  for (const pid_t pid : watched) {
    const auto index = static_cast<std::size_t>(pid);
    if (index >= fDescriptors.size()) fDescriptors.resize(index + 1);
    fDescriptors[index].isWatched = true;
  }
}

FloorLoop::~FloorLoop() {
  for (Descriptors const& descriptors : fDescriptors) {
    if (descriptors.comm >= 0) ::close(descriptors.comm);
    if (descriptors.stat >= 0) ::close(descriptors.stat);
  }
  ::close(fProc);
}

std::chrono::nanoseconds FloorLoop::pass() {
  fWatchedRead = 0;
  const auto before = threadCpuTime();
  lookAtAll();
  const auto used = threadCpuTime() - before;
  if (fWatchedRead != fWatched) throw std::runtime_error("the floor missed a watched process");
  return used;
}

void FloorLoop::lookAtAll() {
  ::lseek(fProc, 0, SEEK_SET);
  for (;;) {
    const long filled = ::syscall(SYS_getdents64, fProc, fEntries.data(), fEntries.size());
    if (filled < 0) throw std::runtime_error("cannot list /proc");
    if (filled == 0) return;
    for (std::size_t at = 0; at < static_cast<std::size_t>(filled);) {
      unsigned short length = 0;
      std::memcpy(&length, &fEntries[at + offsetof(KernelEntry, length)], sizeof length);
      const char* const name = &fEntries[at + offsetof(KernelEntry, name)];
      std::size_t pid = 0;
      const auto parsed = std::from_chars(name, name + std::strlen(name), pid);
      if (parsed.ec == std::errc() && *parsed.ptr == '\0') lookAt(pid);
      at += length;
    }
  }
}

void FloorLoop::lookAt(std::size_t pid) {
  if (pid >= fDescriptors.size()) fDescriptors.resize(pid + 1);
  Descriptors& descriptors = fDescriptors[pid];
  if (!readComm(pid, descriptors) || !descriptors.isWatched) return;
  if (descriptors.stat < 0) descriptors.stat = openFile(pid, "stat");
  char text[1024];
  if (::pread(descriptors.stat, text, sizeof text, 0) > 0) ++fWatchedRead;
}

bool FloorLoop::readComm(std::size_t pid, Descriptors& descriptors) const {
  char text[64];
  if (descriptors.comm >= 0) {
    if (::pread(descriptors.comm, text, sizeof text, 0) > 0) return true;
    ::close(descriptors.comm);  // its process is gone, and its number is another's
  }
  descriptors.comm = openFile(pid, "comm");
  return descriptors.comm >= 0 && ::pread(descriptors.comm, text, sizeof text, 0) > 0;
}

int FloorLoop::openFile(std::size_t pid, const char* file) const {
  return ::openat(fProc, (std::to_string(pid) + "/" + file).c_str(), O_RDONLY | O_CLOEXEC);
}
