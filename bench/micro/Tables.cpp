#include "bench/micro/Tables.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <map>
#include <memory>

#include "tests/host/process/FakeProc.h"

namespace {

constexpr unsigned int kInstances = 10;
constexpr unsigned int kWatched = 10 * kInstances;
constexpr unsigned int kFirstPid = 1000;

struct MadeTable {
  explicit MadeTable(unsigned int processes) : table{files.path(), processes, kFirstPid} {
    for (unsigned int i = 0; i < processes; ++i) {
      const std::string name =
          i < kWatched ? entryName(i / kInstances) : "other-" + std::to_string(i);
      files.add(kFirstPid + i, {.comm = name, .pages = 500, .commandLine = "/bin/" + name});
    }
  }

  FakeProc files;
  Table table;
};

/// Ten real processes that sleep.
class Sleepers {
 public:
  Sleepers() {
    std::array<int, 2> ready{};
    if (::pipe(ready.data()) != 0) return;
    for (pid_t& pid : fPids) {
      pid = ::fork();
      if (pid == 0) sleepForever(ready[1]);
    }
    ::close(ready[1]);
    // Ends when each of them has its name and has closed its end.
    char none = 0;
    while (::read(ready[0], &none, 1) > 0) {
    }
    ::close(ready[0]);
  }
  ~Sleepers() {
    for (const pid_t pid : fPids) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, nullptr, 0);
    }
  }
  Sleepers(Sleepers const&) = delete;
  Sleepers& operator=(Sleepers const&) = delete;

  unsigned int first() const { return static_cast<unsigned int>(fPids.front()); }

 private:
  [[noreturn]] static void sleepForever(int ready) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NAME, entryName(0).c_str());
    ::close(ready);
    for (;;) ::pause();
  }

  std::array<pid_t, kInstances> fPids{};
};

unsigned int countProcesses() {
  unsigned int count = 0;
  for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos) ++count;
  }
  return count;
}

}  // namespace

std::string entryName(unsigned int entry) { return "entry-" + std::to_string(entry); }

Table const& madeTable(unsigned int processes) {
  static std::map<unsigned int, std::unique_ptr<MadeTable>> tables;
  auto& table = tables[processes];
  if (!table) table = std::make_unique<MadeTable>(processes);
  return table->table;
}

Table const& realTable() {
  static const Sleepers sleepers;
  static const Table table{"/proc", countProcesses(), sleepers.first()};
  return table;
}
