#include "host/veskctl/Output.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace ctl {

std::optional<Failure> Output::write(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = ::write(fDescriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd writable{fDescriptor, POLLOUT, 0};
      ::poll(&writable, 1, -1);
    } else if (errno == EPIPE) {
      return Failure{ExitCode::noOutput, ""};
    } else if (errno != EINTR) {
      return Failure{ExitCode::noOutput,
                     fmt::format("cannot write to standard output: {}", std::strerror(errno))};
    }
  }
  return std::nullopt;
}

}  // namespace ctl
