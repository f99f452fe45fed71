// A process to be restarted: it notes when it began and when it ended, and takes
// its time to end after SIGTERM.
//
//   bench_restarted FILE
//
// Appends "start PID NANOSECONDS" and "end PID NANOSECONDS", by the monotonic clock.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <ctime>

namespace {

constexpr timespec kTimeToEnd{0, 300'000'000};
constexpr unsigned int kLongestLifeSeconds = 30;  ///< should nobody end it

timespec now() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return time;
}

bool note(const char* path, const char* what, timespec const& time) {
  constexpr long long kNanoseconds = 1'000'000'000;
  char line[80];
  const int length = std::snprintf(line, sizeof line, "%s %d %lld\n", what, ::getpid(),
                                   time.tv_sec * kNanoseconds + time.tv_nsec);
  const int file = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  return ::write(file, line, static_cast<std::size_t>(length)) == length;
}

}  // namespace

int main(int argc, char** argv) {
  const timespec started = now();
  if (argc != 2 || !note(argv[1], "start", started)) return 1;
  ::alarm(kLongestLifeSeconds);

  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  int signal = 0;
  ::sigwait(&signals, &signal);
  ::nanosleep(&kTimeToEnd, nullptr);
  return note(argv[1], "end", now()) ? 0 : 1;
}
