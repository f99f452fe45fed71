// A program for tests to start, find, measure and end. Says "ready" once it is
// what its first argument asks for, and then stays until it is killed.

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "stay";
  if (mode == "exit") return argc > 2 ? std::stoi(argv[2]) : 0;
  if (mode == "stubborn") std::signal(SIGTERM, SIG_IGN);
  std::puts("ready");
  std::fflush(stdout);
  for (;;) ::pause();
}
