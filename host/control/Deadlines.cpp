#include "host/control/Deadlines.h"

#include <sys/socket.h>

#include <algorithm>
#include <exception>

Deadlines::Deadlines(std::chrono::milliseconds patience)
    : fPatience(patience), fThread(&Deadlines::run, this) {}

Deadlines::~Deadlines() {
  {
    const std::lock_guard lock(fMutex);
    fIsStopping = true;
  }
  fChanged.notify_all();
  fThread.join();
}

void Deadlines::begin(int socket) noexcept {
  const std::lock_guard lock(fMutex);
  try {
    fEnds[socket] = Clock::now() + fPatience;
    // All have the same patience: only the first one changes what is waited for.
    if (fEnds.size() == 1) fChanged.notify_all();
  } catch (std::exception const&) {
    ::shutdown(socket, SHUT_RDWR);
  }
}

void Deadlines::lift(int socket) noexcept {
  const std::lock_guard lock(fMutex);
  fEnds.erase(socket);
}

void Deadlines::run() {
  std::unique_lock lock(fMutex);
  while (!fIsStopping) {
    const auto first = std::ranges::min_element(
        fEnds, {}, [](auto const& socketAndEnd) { return socketAndEnd.second; });
    if (first == fEnds.end()) {
      fChanged.wait(lock);
    } else if (first->second > Clock::now()) {
      // By value: the entry may go while nobody holds the lock.
      fChanged.wait_until(lock, Clock::time_point(first->second));
    } else {
      ::shutdown(first->first, SHUT_RDWR);
      fEnds.erase(first);
    }
  }
}
