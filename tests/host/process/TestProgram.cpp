// A program for tests to start, find, measure and end. Says "ready" once it is
// what its first argument asks for, and then stays until it is killed.

#include <dirent.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>

namespace {

void stay() {
  std::puts("ready");
  std::fflush(stdout);
  for (;;) ::pause();
}

/// Prints what the program was given at its start, a line each.
void report(int argc, char** argv) {
  for (int i = 2; i < argc; ++i) std::printf("argument %s|\n", argv[i]);
  {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("SigBlk", 0) == 0 || line.rfind("SigIgn", 0) == 0) std::puts(line.c_str());
    }
  }
  DIR* const folder = ::opendir("/proc/self/fd");
  int descriptors = -1;  // the folder's own does not count
  while (const dirent* entry = ::readdir(folder))
    if (entry->d_name[0] != '.') ++descriptors;
  std::printf("descriptors %d\n", descriptors);
  std::printf("session %s\n", ::getsid(0) == ::getpid() ? "own" : "other");
  rlimit files{};
  ::getrlimit(RLIMIT_NOFILE, &files);
  std::printf("umask %03o, nofile %d:%d, environment ", ::umask(0),
              static_cast<int>(files.rlim_cur), static_cast<int>(files.rlim_max));
  std::set<std::string> environment;  // an emulator may change the order
  for (char** entry = environ; *entry != nullptr; ++entry) environment.insert(*entry);
  for (auto const& entry : environment) std::printf("%s|", entry.c_str());
  char cwd[4096];
  std::printf("\nfolder %s\n", ::getcwd(cwd, sizeof cwd));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "stay";
  if (mode == "exit") return argc > 2 ? std::stoi(argv[2]) : 0;
  if (mode == "stubborn") std::signal(SIGTERM, SIG_IGN);
  if (mode == "report") report(argc, argv);
  if (mode == "spin") {
    std::puts("ready");
    std::fflush(stdout);
    for (;;) static_cast<void>(::getppid());
  }
  stay();
}
