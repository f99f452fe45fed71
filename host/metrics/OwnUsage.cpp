#include "host/metrics/OwnUsage.h"

#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace {

std::chrono::microseconds toMicroseconds(timeval const& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

std::optional<std::uint64_t> countDescriptors() {
  std::error_code error;
  std::uint64_t count = 0;
  std::filesystem::directory_iterator descriptor("/proc/self/fd", error);
  while (!error && descriptor != std::filesystem::directory_iterator()) {
    ++count;
    descriptor.increment(error);
  }
  if (error || count == 0) return std::nullopt;
  return count - 1;  // without the one that lists them
}

}  // namespace

OwnUsage readOwnUsage() {
  OwnUsage usage;
  if (rusage times{}; ::getrusage(RUSAGE_SELF, &times) == 0) {
    usage.processorTime = toMicroseconds(times.ru_utime) + toMicroseconds(times.ru_stime);
  }
  std::uint64_t virtualPages = 0;
  std::uint64_t residentPages = 0;
  if (std::ifstream("/proc/self/statm") >> virtualPages >> residentPages) {
    const auto pageSize = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    usage.virtualBytes = virtualPages * pageSize;
    usage.residentBytes = residentPages * pageSize;
  }
  usage.openDescriptors = countDescriptors();
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    usage.mostDescriptors = limit.rlim_cur;
  }
  return usage;
}
