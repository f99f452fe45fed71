#include "host/daemon/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

void openMissingStreams() {
  // The lowest free number is taken, so this goes upwards.
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}
