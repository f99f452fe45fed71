// A program to be watched. It behaves well until its hour, and then does what its role says:
//
//   soak_program ROLE
//
// The file `times` says, once it is there, between which seconds since 1970 it may misbehave.
//
// What it does it tells first, in the file `truth`; so what the watchdog has to do is known
// without asking the watchdog.

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <vector>

#include "tests/soak/Truth.h"

namespace {

constexpr long long kForEver = 1000LL * 1000 * 1000;

struct Program {
  std::string role, name;
  std::minstd_rand random{};
  pid_t predecessor = 0;

  /// Sleeps; ends the program where it is asked to end meanwhile, unless it is stubborn.
  void rest(long long ms) const {
    sigset_t asked;
    ::sigemptyset(&asked);
    ::sigaddset(&asked, SIGTERM);
    const timespec patience{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000 * 1000000)};
    if (::sigtimedwait(&asked, nullptr, &patience) != SIGTERM) return;
    noteTruth(name, "term");
    if (role != "stub") ::_exit(0);
  }
  [[noreturn]] void restForEver() const {
    for (;;) rest(kForEver);
  }
  long long between(long long least, long long most) {
    return std::uniform_int_distribution(least, most)(random);
  }
};

void crash(Program& self) {
  using namespace std::string_literals;
  const auto way = static_cast<std::size_t>(self.between(0, 3));
  noteTruth(self.name, "fate crash-"s + std::array{"abort", "exit", "segfault", "kill"}[way]);
  if (way == 0) std::abort();
  if (way == 1) ::_exit(3);
  ::raise(way == 2 ? SIGSEGV : SIGKILL);
}

void hang(Program& self) {
  noteTruth(self.name, "fate stop");
  ::raise(SIGSTOP);
}

/// Leaks up to a bound, and lets go of nothing.
void leak(Program& self) {
  constexpr std::size_t kBlock = 1U << 20;
  noteTruth(self.name, "fate leak");
  for (std::vector<std::vector<char>> held;; self.rest(100)) {
    if (held.size() < 24) held.emplace_back(kBlock, 'x');
  }
}

void spin(Program& self) {
  constexpr double kShare = 0.14;
  noteTruth(self.name, "fate spin");
  const long long began = wallMs();
  const std::clock_t before = std::clock();
  for (;; self.rest(80)) {
    const auto wanted = static_cast<double>(wallMs() - began) / 1000 * kShare * CLOCKS_PER_SEC;
    while (static_cast<double>(std::clock() - before) < wanted) {
    }
  }
}

/// Becomes three, which are too many with the last of them and not before.
void crowd(Program& self) {
  const pid_t first = ::fork();
  if (first == 0) self.restForEver();
  const long long at = wallMs();
  const pid_t second = ::fork();
  if (second == 0) self.restForEver();
  noteTruth(self.name, "fate crowd " + std::to_string(first) + ' ' + std::to_string(second), at);
}

void rename(Program& self) {
  noteTruth(self.name, "fate rename");
  ::prctl(PR_SET_NAME, ("r" + self.name).c_str());
  self.rest(9000);
  ::_exit(0);
}

void leave(Program& self) {
  noteTruth(self.name, "end");
  ::_exit(0);
}

struct Role {
  long long least, most;  ///< milliseconds until its hour
  std::function<void(Program&)> act;
};

std::map<std::string, Role> const& roles() {
  static const std::map<std::string, Role> all = {
      {"well", {kForEver, kForEver, leave}}, {"crash", {3000, 16000, crash}},
      {"stop", {5000, 20000, hang}},         {"leak", {5000, 20000, leak}},
      {"stub", {10000, 30000, leak}},        {"spin", {12000, 40000, spin}},
      {"crowd", {4000, 16000, crowd}},       {"name", {5000, 20000, rename}},
      {"visit", {500, 6000, leave}},
  };
  return all;
}

/// Whether the process is there and does not just wait to be reaped: then it has no program.
bool isAlive(pid_t pid) {
  std::array<char, 2> any{};
  return ::readlink(("/proc/" + std::to_string(pid) + "/exe").c_str(), any.data(), 1) > 0;
}

/// Takes the place of the former instance, and its seed further.
/// @return whether that still lives
bool succeed(Program& self) {
  const std::string path = self.name + ".last";
  unsigned int turn = 0;
  std::ifstream(path) >> self.predecessor >> turn;
  std::ofstream(path) << ::getpid() << ' ' << turn + 1 << '\n';
  self.random.seed(static_cast<unsigned int>(std::hash<std::string>{}(self.name.substr(6))) + turn);
  return self.predecessor != 0 && isAlive(self.predecessor);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !roles().contains(argv[1])) return 64;
  sigset_t asked;
  ::sigemptyset(&asked);
  ::sigaddset(&asked, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &asked, nullptr);
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);

  Program self{argv[1], kernelName()};
  const bool isOverlap = succeed(self);
  noteTruth(self.name, isOverlap ? "start beside " + std::to_string(self.predecessor) : "start");
  if (isOverlap && self.role == "stop") ::kill(self.predecessor, SIGKILL);

  ::alarm(600);  // None stays for ever where nobody is left to end it.
  long long begin = 0;
  long long until = 0;
  while (!(std::ifstream("times") >> begin >> until)) self.rest(500);
  ::alarm(static_cast<unsigned int>(std::max(until - wallMs() / 1000, 0LL) + 300));

  Role const& role = roles().at(self.role);
  const long long hour = std::max(begin * 1000, wallMs()) + self.between(role.least, role.most);
  if (hour < until * 1000 || self.role == "visit") {
    self.rest(hour - wallMs());
    role.act(self);
  }
  self.restForEver();
}
