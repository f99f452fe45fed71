#include "host/daemon/ServiceNotifier.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <utility>

namespace {

/// Checks per interval. The more there are, the sooner a look is passed on: what
/// is left of the interval for the pause between two looks is all but one check.
constexpr int kChecks = 4;

/// Checks in a row without a look that are worth a word: one more, and the service
/// manager acts.
constexpr int kWorthAWord = kChecks - 1;

/// A service manager that does not read must not hold the stop signals up.
constexpr timeval kLongestSend{2, 0};

}  // namespace

ServiceNotifier::ServiceNotifier(ServiceManager const& manager, std::shared_ptr<spdlog::logger> log)
    : fLog(std::move(log)) {
  if (manager.notifySocket.empty()) return;
  connect(manager.notifySocket);
  if (!fSocket || manager.watchdogInterval.count() == 0) return;
  fFeedInterval = std::max(manager.watchdogInterval / kChecks, std::chrono::microseconds(1));
}

void ServiceNotifier::connect(std::string const& socket) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const bool isAbstract = socket.front() == '@';
  if ((!isAbstract && socket.front() != '/') || socket.size() >= sizeof address.sun_path) {
    fLog->warn("cannot notify the service manager: {} is no socket's name", socket);
    return;
  }
  std::copy(socket.begin(), socket.end(), std::begin(address.sun_path));
  if (isAbstract) address.sun_path[0] = '\0';
  // The null belongs to a path, but not to an abstract name.
  const std::size_t size = offsetof(sockaddr_un, sun_path) + socket.size() + (isAbstract ? 0 : 1);
  UniqueFd descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  auto const* generic = reinterpret_cast<sockaddr const*>(&address);
  if (!descriptor ||
      ::setsockopt(descriptor.get(), SOL_SOCKET, SO_SNDTIMEO, &kLongestSend, sizeof kLongestSend) !=
          0 ||
      ::connect(descriptor.get(), generic, static_cast<socklen_t>(size)) != 0) {
    fLog->warn("cannot notify the service manager: {}: {}", socket, std::strerror(errno));
    return;
  }
  fSocket = std::move(descriptor);
}

void ServiceNotifier::send(std::string const& state) {
  if (!fSocket) return;
  ssize_t sent = 0;
  do {
    sent = ::send(fSocket.get(), state.data(), state.size(), MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  if (sent >= 0 || std::exchange(fIsFailureReported, true)) return;
  fLog->warn("cannot notify the service manager: {}", std::strerror(errno));
}

void ServiceNotifier::ready(std::string const& status) {
  const std::lock_guard lock(fMutex);
  fReadyStatus = "STATUS=" + status;
  send("READY=1\n" + fReadyStatus);
}

void ServiceNotifier::reloading() {
  const std::lock_guard lock(fMutex);
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const auto since = std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
  send(fmt::format("RELOADING=1\nMONOTONIC_USEC={}",
                   std::chrono::floor<std::chrono::microseconds>(since).count()));
}

void ServiceNotifier::reloaded() {
  const std::lock_guard lock(fMutex);
  send("READY=1\n" + fReadyStatus);
}

void ServiceNotifier::stopping(std::string const& status) {
  const std::lock_guard lock(fMutex);
  send("STOPPING=1\nSTATUS=" + status);
}

void ServiceNotifier::feed(unsigned int finds) {
  const std::lock_guard lock(fMutex);
  const bool isAlive = finds != fFinds || finds == 0;
  if (!isAlive) {
    if (++fHeldFor == kWorthAWord) reportHeld();
    return;
  }
  const bool wasReported = std::exchange(fHeldFor, 0) >= kWorthAWord;
  fFinds = finds;
  send(wasReported ? "WATCHDOG=1\n" + fReadyStatus : "WATCHDOG=1");
}

void ServiceNotifier::reportHeld() {
  using Seconds = std::chrono::duration<double>;
  const std::string text = fmt::format(
      "no process was looked for in {:.1f} s; at {:.1f} s the service manager acts",
      Seconds(fFeedInterval * kWorthAWord).count(), Seconds(fFeedInterval * kChecks).count());
  fLog->warn(text);
  send("STATUS=" + text);
}
