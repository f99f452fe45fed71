// A program to be watched: it idles, spins or leaks, as its argument says.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

namespace {

[[noreturn]] void idle() {
  for (;;) ::pause();
}

[[noreturn]] void spin() {
  for (;;) static_cast<void>(::getppid());
}

/// Takes 4 MiB more ten times a second, up to 400 MiB, and holds on to it.
[[noreturn]] void leak() {
  constexpr std::size_t kBlock = 4U << 20;
  constexpr std::size_t kBlocks = 100;
  std::vector<std::vector<char>> held;
  while (held.size() < kBlocks) {
    held.emplace_back(kBlock, 'x');
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  idle();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view mode = argc == 2 ? argv[1] : "";
  if (mode == "idle") idle();
  if (mode == "spin") spin();
  if (mode == "leak") leak();
  std::fprintf(stderr, "usage: %s idle|spin|leak\n", argv[0]);
  return 64;
}
