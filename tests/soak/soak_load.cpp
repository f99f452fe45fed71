// Strangers without end, of whom the watchdog must let each be:
//
//   soak_load PREFIX RATE UNTIL
//
// forks RATE short-lived processes a second, some under names that are nearly those of
// watched programs, every tenth of them another program; starts a visitor every second; and
// keeps in the file `forks` how many there were. One that ends by a signal is told in `truth`.

#include <signal.h>
#include <sys/wait.h>

#include <fstream>
#include <random>
#include <vector>

#include "tests/soak/Truth.h"

namespace {

struct Load {
  std::string prefix;
  std::minstd_rand random{1};

  long between(long least, long most) { return std::uniform_int_distribution(least, most)(random); }

  /// Nearly a watched name: one letter too many, too few or other, or none of it at all.
  std::string nearName() {
    std::string name = prefix + "well" + std::to_string(between(10, 33));
    switch (between(0, 3)) {
      case 0:
        return name + 'x';
      case 1:
        return name.substr(0, name.size() - 1);
      case 2:
        name.front() = 'S';
        return name;
      default:
        return "q" + std::to_string(between(0, 1000000));
    }
  }

  /// In the child. The other program has the name of a watched one as its argument zero.
  [[noreturn]] void linger(std::string const& name, long ms, bool isOther) const {
    if (isOther) {
      ::execl(("./" + prefix + "near").c_str(), (prefix + "well10").c_str(), "idle", nullptr);
    }
    ::prctl(PR_SET_NAME, name.c_str());
    const timespec rest{0, ms * 1000000};
    ::nanosleep(&rest, nullptr);
    ::_exit(0);
  }

  void visit(long which) const {
    const std::string name = prefix + "visit0" + std::to_string(which);
    if (::fork() != 0) return;
    ::execl(("./" + name).c_str(), name.c_str(), "visit", nullptr);
    ::_exit(1);
  }

  void fork(long count) {
    const std::string name = nearName();
    const long ms = between(0, 150);
    const pid_t pid = ::fork();
    if (pid == 0) linger(name, ms, count % 10 == 0);
    if (pid < 0) noteTruth("load", "cannot fork");
  }
};

void reap() {
  int status = 0;
  for (pid_t pid = 0; (pid = ::waitpid(-1, &status, WNOHANG)) > 0;) {
    if (WIFSIGNALED(status)) {
      noteTruth("load", "stranger " + std::to_string(pid) + " ended by signal " +
                            std::to_string(WTERMSIG(status)));
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  // The other program: is there, and goes.
  if (argc == 2) return static_cast<int>(::usleep(100000));
  if (argc != 4) return 64;
  Load load{argv[1]};
  const long rate = std::atol(argv[2]);
  const long long until = std::atoll(argv[3]) * 1000;
  long long due = wallMs();
  std::ofstream counted("forks");
  for (long count = 0; wallMs() < until;) {
    for (; due > wallMs(); reap()) ::usleep(static_cast<useconds_t>(1000 * (due - wallMs())));
    if (wallMs() - due > 1000) due = wallMs();  // What was missed is not made up for.
    load.fork(++count);
    if (count % rate == 0) {
      load.visit(load.between(0, 5));
      counted.seekp(0) << count << std::endl;
    }
    due += count * 1000 / rate - (count - 1) * 1000 / rate;
  }
  while (::waitpid(-1, nullptr, 0) > 0) {
  }
}
