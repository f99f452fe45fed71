#include "host/services/OsRestart.h"

#include <sys/reboot.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "framework/PGuard.h"

namespace {

std::string causeOf(int res) { return std::generic_category().message(-res); }

}  // namespace

OsRestart::OsRestart(RestartMeans means, std::shared_ptr<spdlog::logger> log)
    : fMeans(std::move(means)), fLog(std::move(log)) {}

int OsRestart::restart(int mode) {
  return pGuarded([&] {
    if (mode != 0) {
      fLog->error("operating-system restart refused: there is no mode {}", mode);
      return -EINVAL;
    }
    return fMeans.command.empty() ? restartKernel() : runCommand();
  });
}

int OsRestart::runCommand() const {
  unsigned int pid = 0;
  const int res = fMeans.run(fMeans.command, pid);
  if (res != PResult::ok) {
    fLog->error("operating-system restart failed: cannot run `{}': {}", fMeans.command,
                causeOf(res));
  } else {
    fLog->warn("operating-system restart: running `{}', pid={}", fMeans.command, pid);
  }
  return res;
}

int OsRestart::restartKernel() const {
  if (!fMeans.isRoot) {
    fLog->error("operating-system restart refused: not root, and no restart_command is set");
    return -EPERM;
  }
  fLog->warn("operating-system restart: by the kernel, now");
  const int res = fMeans.restartKernel();
  if (res != PResult::ok) fLog->error("operating-system restart failed: {}", causeOf(res));
  return res;
}

int restartThisMachine() {
  ::sync();
  return ::reboot(RB_AUTOBOOT) == 0 ? PResult::ok : -errno;
}
