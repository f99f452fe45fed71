#include "bench/whole/Restarts.h"

#include <sys/types.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "bench/whole/Child.h"
#include "bench/whole/Interruption.h"
#include "bench/whole/Veskd.h"

namespace {

constexpr const char* kName = "bench_restarted";

/// What the instances noted; times in nanoseconds, in order.
struct Notes {
  std::vector<long long> starts;
  std::vector<long long> ends;
  std::vector<pid_t> alive;
};

Notes readNotes(std::string const& file) {
  Notes notes;
  std::istringstream in(readText(file));
  std::string what;
  pid_t pid = 0;
  long long time = 0;
  while (in >> what >> pid >> time) {
    if (what == "start") {
      notes.starts.push_back(time);
      notes.alive.push_back(pid);
    } else {
      notes.ends.push_back(time);
      std::erase(notes.alive, pid);
    }
  }
  std::sort(notes.starts.begin(), notes.starts.end());
  std::sort(notes.ends.begin(), notes.ends.end());
  return notes;
}

/// Ends what the host has started last: it outlives the host.
class Cleaner {
 public:
  explicit Cleaner(std::string const& notes) : fNotes(notes) {}
  ~Cleaner() {
    for (const pid_t pid : readNotes(fNotes).alive) {
      if (readText("/proc/" + std::to_string(pid) + "/comm") == kName + std::string("\n")) {
        ::kill(pid, SIGKILL);
      }
    }
  }
  Cleaner(Cleaner const&) = delete;
  Cleaner& operator=(Cleaner const&) = delete;

 private:
  std::string fNotes;
};

}  // namespace

Series measureRestarts(Scratch const& scratch, unsigned int count) {
  const std::string file = scratch.write("restarts", "");
  const Cleaner cleaner(file);  // runs last, once the host restarts no more
  const Child first(BENCH_RESTARTED, {kName, file});
  await("the program to be restarted is there", [&] { return !readNotes(file).starts.empty(); });
  Veskd veskd = Veskd::restarting(scratch, kName, BENCH_RESTARTED, file);
  await(
      "the restarts",
      [&] {
        veskd.expectAlive();
        return readNotes(file).starts.size() > count;
      },
      std::chrono::seconds(10 * count));

  // The n-th end is of the n-th instance, the start after it the (n+1)-th.
  constexpr double kNanosecondsPerMs = 1e6;
  const Notes notes = readNotes(file);
  Series gaps;
  for (std::size_t i = 0; i < notes.ends.size() && i + 1 < notes.starts.size(); ++i) {
    gaps.add(static_cast<double>(notes.starts[i + 1] - notes.ends[i]) / kNanosecondsPerMs);
  }
  return gaps;
}
