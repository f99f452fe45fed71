#include "host/services/AppendableFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

int ensureAppendable(std::string const& path) {
  constexpr mode_t kMode = 0640;
  // Not to wait for the reader of a pipe.
  const int file = ::open(path.c_str(),
                          O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kMode);
  if (file < 0) return -errno;
  ::close(file);
  return 0;
}
