#include "host/trust/TrustedUsers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace {

std::set<uid_t> findTrustedUsers() {
  std::set<uid_t> users = {0, ::geteuid()};
  std::error_code error;
  // Without links, as the kernel tells it.
  auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  for (; path.has_relative_path(); path = path.parent_path()) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) users.insert(status.st_uid);
  }
  return users;
}

}  // namespace

std::set<uid_t> const& trustedUsers() {
  static const std::set<uid_t> users = findTrustedUsers();
  return users;
}
