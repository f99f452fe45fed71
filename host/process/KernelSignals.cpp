#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "framework/PResult.h"
#include "host/process/IProcessSignals.h"

namespace {

int resultOf(long status) {
  if (status == 0) return PResult::ok;
  return errno == ESRCH ? PResult::notFound : -errno;
}

class KernelSignals : public IProcessSignals {
 public:
  int open(unsigned int pid, UniqueFd& descriptor) override {
    const long fd = ::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0U);
    if (fd < 0) return resultOf(fd);
    descriptor = UniqueFd(static_cast<int>(fd));
    return PResult::ok;
  }

  int send(UniqueFd const& descriptor, int signal) override {
    return resultOf(::syscall(SYS_pidfd_send_signal, descriptor.get(), signal,
                              static_cast<void*>(nullptr), 0U));
  }

  int send(unsigned int pid, int signal) override {
    return resultOf(::kill(static_cast<pid_t>(pid), signal));
  }
};

}  // namespace

std::unique_ptr<IProcessSignals> makeKernelSignals() { return std::make_unique<KernelSignals>(); }
