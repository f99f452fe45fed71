// A program that behaves well until its hour, and then does as its role says:
//
//   soak_program ROLE
//
// The file `times` says, once it is there, between which seconds since 1970 that may be.
// What it does it tells first, in the file `truth`: so what the watchdog has to do is known
// without asking the watchdog. The role `load` makes strangers, of whom it must let each be.

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr long long kNever = 1000LL * 1000 * 1000;
constexpr long long kForksPerSecond = 200;

sigset_t beingAsked() {
  sigset_t asked;
  ::sigemptyset(&asked);
  ::sigaddset(&asked, SIGTERM);
  return asked;
}

/// Milliseconds since 1970: what a record of veskd is dated by.
long long wallMs() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

struct Program {
  std::string role, name;
  long long until = 0;
  std::minstd_rand random{};

  long long between(long long least, long long most) {
    return std::uniform_int_distribution(least, most)(random);
  }

  /// Appends to the truth, whole: when, which process, under which name, what befalls it.
  void tell(std::string const& what, long long at = wallMs()) const {
    const std::string line =
        std::to_string(at) + ' ' + std::to_string(::getpid()) + ' ' + name + ' ' + what + '\n';
    const int file = ::open("truth", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (::write(file, line.data(), line.size()) < 0) std::abort();
    ::close(file);
  }

  /// Sleeps; ends the program where it is asked to end meanwhile, unless it is stubborn.
  void rest(long long ms) const {
    const sigset_t asked = beingAsked();
    const timespec patience{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000 * 1000000)};
    if (::sigtimedwait(&asked, nullptr, &patience) != SIGTERM) return;
    tell("term");
    if (role != "deaf") ::_exit(0);
  }
};

void stay(Program& self) {
  for (;;) self.rest(kNever);
}

void crash(Program& self) {
  const auto way = self.between(0, 3);
  self.tell("fate crash " + std::to_string(way));
  if (way == 0) std::abort();
  if (way == 1) ::_exit(3);
  ::raise(way == 2 ? SIGSEGV : SIGKILL);
}

void stop(Program& self) {
  self.tell("fate stop");
  ::raise(SIGSTOP);
}

/// Leaks up to a bound, and lets go of nothing.
void leak(Program& self) {
  self.tell("fate leak");
  for (std::vector<std::vector<char>> held;; self.rest(100)) {
    if (held.size() < 24) held.emplace_back(1U << 20, 'x');
  }
}

/// Takes 6 percent of a core, or what a busy machine leaves of it.
void spin(Program& self) {
  self.tell("fate spin");
  for (;; self.rest(94)) {
    const auto enough = std::clock() + CLOCKS_PER_SEC * 6 / 1000;
    while (std::clock() < enough) self.rest(0);
  }
}

/// Becomes three, which are too many with the last of them and not before.
void crowd(Program& self) {
  const pid_t first = ::fork();
  if (first == 0) stay(self);
  const long long at = wallMs();
  const pid_t second = ::fork();
  if (second == 0) stay(self);
  self.tell("fate crowd " + std::to_string(first) + ' ' + std::to_string(second), at);
}

void rename(Program& self) {
  self.tell("fate rename");
  ::prctl(PR_SET_NAME, ("r" + self.name).c_str());
  self.rest(9000);
  ::_exit(0);
}

void leave(Program& /*self*/) { ::_exit(0); }

/// In a child: a stranger for a moment, nearly under a watched name, or another program with
/// a watched name as its argument zero, or now and then a visitor.
void beStranger(Program& self, long long count) {
  const std::string prefix = self.name.substr(0, self.name.find('-') + 1);
  const std::string watched = prefix + "well" + std::to_string(count % 24 + 10);
  const std::string visitor = prefix + "visit0" + std::to_string(count / kForksPerSecond % 6);
  if (count % kForksPerSecond == 0) ::execl(visitor.c_str(), visitor.c_str(), "visit", nullptr);
  if (count % 10 == 0) ::execl((prefix + "near").c_str(), watched.c_str(), "near", nullptr);
  const std::array names = {watched + 'x', watched.substr(0, 10), 'S' + watched.substr(1),
                            "q" + std::to_string(count)};
  ::prctl(PR_SET_NAME, names.at(static_cast<std::size_t>(count % 4)).c_str());
  ::usleep(static_cast<useconds_t>(self.between(0, 150000)));
  ::_exit(0);
}

void load(Program& self) {
  const sigset_t asked = beingAsked();
  ::sigprocmask(SIG_UNBLOCK, &asked, nullptr);  // Strangers end by it, which is noticed.
  std::ofstream counted("forks");
  int status = 0;
  long long due = wallMs();
  for (long long count = 1; wallMs() < self.until; ++count) {
    for (; due > wallMs(); ::usleep(500)) {
      while (::waitpid(-1, &status, WNOHANG) > 0) {
        if (WIFSIGNALED(status)) self.tell("stranger " + std::to_string(status));
      }
    }
    if (wallMs() - due > 1000) due = wallMs();  // What was missed is not made up for.
    static_cast<void>(self.between(0, 1));      // The next child is another.
    const pid_t pid = ::fork();
    if (pid == 0) beStranger(self, count);
    if (pid < 0) self.tell("cannot fork");
    if (count % kForksPerSecond == 0) counted.seekp(0) << count << std::endl;
    due += 1000 / kForksPerSecond;
  }
  ::_exit(0);
}

struct Role {
  long long least, most;  ///< milliseconds until its hour
  void (*act)(Program&);
};

const std::map<std::string, Role> kRoles = {
    {"well", {kNever, kNever, stay}}, {"crash", {3000, 16000, crash}},
    {"stop", {5000, 20000, stop}},    {"leak", {5000, 20000, leak}},
    {"deaf", {10000, 30000, leak}},   {"spin", {12000, 40000, spin}},
    {"crowd", {4000, 16000, crowd}},  {"name", {5000, 20000, rename}},
    {"visit", {500, 6000, leave}},    {"near", {100, 100, leave}},
    {"load", {0, 0, load}},
};

/// Takes the place of the former instance, and its seed further.
/// @return the former one if it still lives: one that waits to be reaped has no program
pid_t succeed(Program& self) {
  pid_t former = 0;
  unsigned int turn = 0;
  std::ifstream(self.name + ".last") >> former >> turn;
  std::ofstream(self.name + ".last") << ::getpid() << ' ' << turn + 1 << '\n';
  self.random.seed(static_cast<unsigned int>(std::hash<std::string>{}(self.name.substr(6))) + turn);
  char any = 0;
  const std::string program = "/proc/" + std::to_string(former) + "/exe";
  return former != 0 && ::readlink(program.c_str(), &any, 1) > 0 ? former : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !kRoles.contains(argv[1])) return 64;
  const sigset_t asked = beingAsked();
  ::sigprocmask(SIG_BLOCK, &asked, nullptr);
  std::array<char, 16> name{};
  ::prctl(PR_GET_NAME, name.data());

  Program self{argv[1], name.data()};
  if (self.role != "near") {
    const pid_t former = succeed(self);
    self.tell(former != 0 ? "start beside " + std::to_string(former) : "start");
    if (former != 0 && self.role == "stop") ::kill(former, SIGKILL);
  }
  ::alarm(600);  // None stays for ever where nobody is left to end it.
  long long begin = 0;
  while (!(std::ifstream("times") >> begin >> self.until)) self.rest(500);
  self.until *= 1000;
  ::alarm(static_cast<unsigned int>(std::max(self.until - wallMs(), 0LL) / 1000 + 300));

  Role const& role = kRoles.at(self.role);
  const long long hour = std::max(begin * 1000, wallMs()) + self.between(role.least, role.most);
  if (hour < self.until || self.role == "visit") {
    self.rest(hour - wallMs());
    role.act(self);
  }
  stay(self);
}
