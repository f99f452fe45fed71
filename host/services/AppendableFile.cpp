#include "host/services/AppendableFile.h"

#include <fcntl.h>

#include <cerrno>

int openAppendable(std::string const& path, UniqueFd& file) {
  constexpr mode_t kMode = 0640;
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  file = UniqueFd(::open(path.c_str(), kFlags, kMode));
  return file ? 0 : -errno;
}

int ensureAppendable(std::string const& path) {
  UniqueFd file;
  return openAppendable(path, file);
}
