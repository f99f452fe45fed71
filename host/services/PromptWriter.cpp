#include "host/services/PromptWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace {

/// The standard stream in an open file of this process's own, since a flag of the one
/// that it shares with others would be theirs as well.
UniqueFd reopenStandardError() {
  return UniqueFd(
      ::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_APPEND | O_NOCTTY | O_CLOEXEC));
}

}  // namespace

PromptWriter PromptWriter::standardError() {
  struct stat status {};
  if (::fstat(STDERR_FILENO, &status) != 0) return {UniqueFd(), STDERR_FILENO, Kind::own};
  if (S_ISSOCK(status.st_mode)) return {UniqueFd(), STDERR_FILENO, Kind::socket};
  if (S_ISREG(status.st_mode)) return {UniqueFd(), STDERR_FILENO, Kind::own};
  // Refused where it was opened with other rights than this process has now.
  if (UniqueFd own = reopenStandardError()) return PromptWriter(std::move(own));
  return {UniqueFd(), STDERR_FILENO, Kind::shared};
}

PromptWriter::PromptWriter(UniqueFd own, int descriptor, Kind kind)
    : fOwn(std::move(own)), fDescriptor(descriptor), fKind(kind) {}

PromptWriter::PromptWriter(UniqueFd own)
    : fOwn(std::move(own)), fDescriptor(fOwn.get()), fKind(Kind::own) {
  ::fcntl(fDescriptor, F_SETFL, ::fcntl(fDescriptor, F_GETFL) | O_NONBLOCK);
}

int PromptWriter::write(std::string_view text) {
  const auto now = Clock::now();
  fPatience = std::min<std::chrono::nanoseconds>(kMostPatience,
                                                 fPatience + (now - fPatienceAt) / kShareOfTime);
  fPatienceAt = now;
  fIsTorn = false;
  while (!text.empty()) {
    const long taken = writeSome(text);
    if (taken > 0) {
      text.remove_prefix(static_cast<std::size_t>(taken));
      fIsTorn = !text.empty();
    } else if (taken == 0) {
      return -EIO;
    } else if (errno == EAGAIN) {
      if (!awaitRoom()) return -EAGAIN;
    } else if (errno != EINTR) {
      return -errno;
    }
  }
  return 0;
}

/// @return as write().
long PromptWriter::writeSome(std::string_view text) const {
  if (fKind == Kind::socket) {
    return ::send(fDescriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  }
  if (fKind == Kind::own) return ::write(fDescriptor, text.data(), text.size());
  if (!hasRoomWithin(std::chrono::milliseconds(0))) {
    errno = EAGAIN;
    return -1;
  }
  // A pipe that has any room has room for so much.
  return ::write(fDescriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
}

bool PromptWriter::hasRoomWithin(std::chrono::milliseconds time) const {
  pollfd polled{fDescriptor, POLLOUT, 0};
  return ::poll(&polled, 1, static_cast<int>(time.count())) > 0;
}

bool PromptWriter::awaitRoom() {
  const auto time = std::chrono::floor<std::chrono::milliseconds>(fPatience);
  if (time.count() <= 0) return false;
  const bool hasRoom = hasRoomWithin(time);
  const auto now = Clock::now();
  fPatience -= now - fPatienceAt;
  fPatienceAt = now;
  return hasRoom;
}
