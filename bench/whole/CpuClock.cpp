#include "bench/whole/CpuClock.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace {

std::chrono::nanoseconds readClock(clockid_t clock) {
  timespec time{};
  if (::clock_gettime(clock, &time) != 0) throw std::runtime_error("a measured process is gone");
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

CpuClock::CpuClock(pid_t pid) {
  if (::clock_getcpuclockid(pid, &fClock) != 0) {
    throw std::runtime_error("no processor clock of process " + std::to_string(pid));
  }
}

std::chrono::nanoseconds CpuClock::read() const { return readClock(fClock); }

std::chrono::nanoseconds threadCpuTime() { return readClock(CLOCK_THREAD_CPUTIME_ID); }

long residentKib(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string word; status >> word;) {
    long kib = 0;
    if (word == "VmRSS:" && status >> kib) return kib;
  }
  return 0;
}
