#include "host/veskctl/SocketTrouble.h"

#include <fmt/format.h>
#include <grp.h>
#include <pwd.h>
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

std::string nameOfUser(uid_t id) {
  auto const* user = ::getpwuid(id);
  return user != nullptr ? fmt::format("`{}'", user->pw_name) : fmt::format("the user {}", id);
}

std::string nameOfGroup(gid_t id) {
  auto const* group = ::getgrgid(id);
  return group != nullptr ? fmt::format("`{}'", group->gr_name) : fmt::to_string(id);
}

/// Whom to be to connect.
std::string whoMay(std::string const& path) {
  std::string who = "root";
  struct stat file {};
  if (::stat(path.c_str(), &file) != 0) return who;  // its folder is closed
  const bool hasGroup = (file.st_mode & S_IWGRP) != 0;
  if (file.st_uid != 0) who += (hasGroup ? ", " : " or ") + nameOfUser(file.st_uid);
  if (hasGroup) who += " or in the group " + nameOfGroup(file.st_gid);
  return who;
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
  return whyUnreachable(path, tryToConnect(path));
}

std::string whyUnreachable(std::string const& path, int error) {
  switch (error) {
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
      return fmt::format("no right to use {}: be {}", path, whoMay(path));
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
