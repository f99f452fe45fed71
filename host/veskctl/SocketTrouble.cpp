#include "host/veskctl/SocketTrouble.h"

#include <fmt/format.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "host/process/UniqueFd.h"

namespace ctl {

namespace {

/// @return 0, or why not.
int tryToConnect(std::string const& path) {
  const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const void* where = &address;
  return ::connect(socket.get(), static_cast<const sockaddr*>(where), sizeof address) == 0 ? 0
                                                                                           : errno;
}

/// Who may connect, beside root.
std::string whoMay(std::string const& path) {
  struct stat file {};
  if (::stat(path.c_str(), &file) != 0) return "";
  auto const* group = ::getgrgid(file.st_gid);
  if (group == nullptr) return fmt::format(" or in the group {}", file.st_gid);
  return fmt::format(" or in the group `{}'", group->gr_name);
}

std::string nobodyListens(std::string const& path) {
  struct stat file {};
  if (::stat(path.c_str(), &file) == 0 && !S_ISSOCK(file.st_mode)) {
    return fmt::format(
        "{} is no socket: name veskd's with --socket, see `control_socket' in its "
        "configuration",
        path);
  }
  return fmt::format("nobody listens on {}: veskd has ended, start it", path);
}

}  // namespace

std::string whyUnreachable(std::string const& path) {
  switch (const int error = tryToConnect(path)) {
    case ENOENT:
    case ENOTDIR:
      return fmt::format(
          "there is no socket {}: start veskd, or set `control_socket' in its "
          "configuration, or name the right one with --socket",
          path);
    case ECONNREFUSED:
      return nobodyListens(path);
    case EACCES:
    case EPERM:
      return fmt::format("no right to use {}: be root{}", path, whoMay(path));
    case EAGAIN:
      return fmt::format("too many wait for {} already: try again", path);
    case 0:
      return fmt::format("{} could not be reached a moment ago: try again", path);
    default:
      return fmt::format("cannot connect to {}: {}", path, std::strerror(error));
  }
}

bool fitsIntoAddress(std::string const& path) {
  return path.size() < sizeof(sockaddr_un::sun_path);
}

}  // namespace ctl
