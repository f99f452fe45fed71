#include "host/control/ControlSocket.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>
#include <utility>

#include "host/trust/TrustedPath.h"

namespace {

constexpr mode_t kMode = 0660;
constexpr int kBacklog = 64;

static_assert(kLongestSocketPath == sizeof(sockaddr_un::sun_path) - 1);

sockaddr_un addressOf(std::string const& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, kLongestSocketPath);
  return address;
}

/// The address as the system wants it.
sockaddr const* generic(sockaddr_un const& address) {
  return reinterpret_cast<sockaddr const*>(&address);
}

UniqueFd newSocket() {
  return UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

std::string lastError() { return std::strerror(errno); }

/// Reads what is at the path itself, not behind a link. @return whether anything is.
bool isAt(std::string const& path, struct stat& status) {
  return ::lstat(path.c_str(), &status) == 0;
}

bool isSame(struct stat const& one, struct stat const& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Keeps hosts that start at the same time from taking each other's socket for a
/// dead one. A file that nobody else may open, and of one socket alone: whatever
/// others can open, they can lock.
class StartLock {
 public:
  explicit StartLock(std::string const& socket) : fPath(socket + ".lock") {}
  ~StartLock() {
    if (fFile) ::unlink(fPath.c_str());
  }
  StartLock(StartLock const&) = delete;
  StartLock& operator=(StartLock const&) = delete;

  /// Waits a second at most for a host that is starting. @return why it is not had.
  std::optional<std::string> take() {
    constexpr std::chrono::milliseconds kPause{10};
    for (int turn = 0; turn < 100; ++turn) {
      UniqueFd file(::open(fPath.c_str(), kHow, S_IRUSR | S_IWUSR));
      if (!file) return fmt::format("{} cannot be opened: {}", fPath, lastError());
      struct stat status {};
      if (::fstat(file.get(), &status) != 0) return lastError();
      const bool isOurs = S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
      if (!isOurs || status.st_size > 0) return fmt::format("{} is not a lock of ours", fPath);
      if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        // Whoever had it before may have removed it meanwhile.
        struct stat named {};
        if (!isAt(fPath, named) || !isSame(status, named)) continue;
        fFile = std::move(file);
        return std::nullopt;
      }
      if (errno != EWOULDBLOCK) return fmt::format("{} cannot be locked: {}", fPath, lastError());
      std::this_thread::sleep_for(kPause);
    }
    return fmt::format("{} is locked: another host is starting", fPath);
  }

 private:
  static constexpr int kHow = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

  const std::string fPath;
  UniqueFd fFile;
};

/// Removes what a dead host left behind. @return why the place is not free.
std::optional<std::string> clear(std::string const& path) {
  struct stat status {};
  if (!isAt(path, status)) {
    return errno == ENOENT ? std::nullopt : std::optional(lastError());
  }
  if (!S_ISSOCK(status.st_mode)) return "there is something that is not a socket";
  const sockaddr_un address = addressOf(path);
  const UniqueFd probe = newSocket();
  if (!probe) return lastError();
  if (::connect(probe.get(), generic(address), sizeof address) == 0 || errno == EAGAIN) {
    return "another process listens on it: is another host running?";
  }
  if (errno != ECONNREFUSED) return fmt::format("it may be another process's: {}", lastError());
  return ::unlink(path.c_str()) == 0 || errno == ENOENT ? std::nullopt : std::optional(lastError());
}

/// Gives the file its owner, group and mode. @return why that is not possible.
std::optional<std::string> dress(ControlSettings const& settings) {
  const char* path = settings.socket.c_str();
  const auto user = settings.owner.empty() ? uid_t(-1) : userOf(settings.owner);
  if (!user) return fmt::format("there is no user `{}'", settings.owner);
  const auto group = settings.group.empty() ? gid_t(-1) : groupOf(settings.group);
  if (!group) return fmt::format("there is no group `{}'", settings.group);
  if (::lchown(path, *user, *group) != 0) {
    return fmt::format("its owner cannot be set: {}", lastError());
  }
  // Never through a link that somebody put in its place.
  if (::fchmodat(AT_FDCWD, path, kMode, AT_SYMLINK_NOFOLLOW) != 0) {
    return fmt::format("its mode cannot be set: {}", lastError());
  }
  return std::nullopt;
}

/// Binds the socket. @return why that is not possible.
std::optional<std::string> bindTo(std::string const& path, int socket) {
  const sockaddr_un address = addressOf(path);
  // The file is made with the mode of the socket, less what the umask takes.
  if (::fchmod(socket, kMode) != 0) return lastError();
  if (::bind(socket, generic(address), sizeof address) != 0) return lastError();
  return std::nullopt;
}

}  // namespace

ControlSocket::ControlSocket(std::string path, UniqueFd socket)
    : fPath(std::move(path)), fSocket(std::move(socket)) {
  struct stat status {};
  if (isAt(fPath, status)) {
    fDevice = status.st_dev;
    fInode = status.st_ino;
  }
}

ControlSocket::~ControlSocket() {
  struct stat status {};
  const bool isOwn = isAt(fPath, status) && status.st_dev == fDevice && status.st_ino == fInode;
  if (isOwn) ::unlink(fPath.c_str());
}

std::unique_ptr<ControlSocket> ControlSocket::open(ControlSettings const& settings,
                                                   std::string& cause) {
  std::string const& path = settings.socket;
  const auto fail = [&cause, &path](std::string const& why) {
    cause = fmt::format("control socket {}: {}", path, why);
    return nullptr;
  };
  if (path.size() > kLongestSocketPath) {
    return fail(fmt::format("the path is longer than {} bytes", kLongestSocketPath));
  }
  if (const std::string distrust = distrustOfFolder(path); !distrust.empty()) return fail(distrust);
  StartLock lock(path);
  if (const auto why = lock.take()) return fail(*why);
  if (const auto why = clear(path)) return fail(*why);
  UniqueFd socket = newSocket();
  if (!socket) return fail(lastError());
  const int fd = socket.get();
  if (const auto why = bindTo(path, fd)) return fail(*why);
  std::unique_ptr<ControlSocket> opened(new ControlSocket(path, std::move(socket)));
  // Nobody can connect until it listens.
  if (const auto why = dress(settings)) return fail(*why);
  if (::listen(fd, kBacklog) != 0) return fail(lastError());
  return opened;
}
