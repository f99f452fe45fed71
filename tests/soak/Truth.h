#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <string>

/// Milliseconds since 1970: what a record of veskd is dated by.
inline long long wallMs() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

/// Appends a line to the file `truth` in the working directory, whole or not at all:
/// when, which process, under which name, what befalls it.
inline void noteTruth(std::string const& name, std::string const& what, long long at = wallMs()) {
  const std::string line =
      std::to_string(at) + ' ' + std::to_string(::getpid()) + ' ' + name + ' ' + what + '\n';
  const int file = ::open("truth", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0 || ::write(file, line.data(), line.size()) < 0) std::perror("truth");
  ::close(file);
}

/// The name that the kernel keeps of this process.
inline std::string kernelName() {
  std::array<char, 16> name{};
  ::prctl(PR_GET_NAME, name.data());
  return name.data();
}
