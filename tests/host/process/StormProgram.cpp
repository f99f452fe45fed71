// Ends thousands of real processes in a table so small that their numbers change hands all the
// time, between the look and the kill above all, and tells whether a stranger was ever signalled
// or read. The first process of namespaces that storm.sh makes. Exit status: 0 all was right.

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "framework/PResult.h"
#include "host/process/ProcessUtilities.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* kTarget = "storm-target";

/// What all processes of the storm share.
struct Scene {
  std::atomic<bool> isOver;
  std::atomic<unsigned int> births, bystanders, terminated, killed, kills, handChanges;
  std::atomic<unsigned int> harmed, strangersKilled, strangersRead, surprises;
  std::atomic<unsigned int> owner[1U << 16];  ///< which birth each number belongs to
  unsigned int ended() const { return terminated + killed; }
};

struct Kind {
  const char* name;          ///< none for bystanders
  unsigned int longestLife;  ///< microseconds
  bool isStubborn = false;
};
constexpr Kind kKinds[] = {
    {kTarget, 20'000}, {kTarget, 10'000}, {kTarget, 10'000},       {kTarget, 5'000},
    {kTarget, 5'000},  {kTarget, 2'000},  {kTarget, 70'000, true}, {kTarget, 70'000, true},
    {nullptr, 20},     {nullptr, 50},     {nullptr, 100},          {nullptr, 200},
    {nullptr, 500},    {nullptr, 1'000},  {nullptr, 1'000},        {nullptr, 2'000}};

[[noreturn]] void live(Scene& scene, Kind const& kind, unsigned int luck) {
  scene.owner[static_cast<std::size_t>(::getpid())] = ++scene.births;
  if (kind.isStubborn) std::signal(SIGTERM, SIG_IGN);
  if (kind.name != nullptr) ::prctl(PR_SET_NAME, kind.name);
  ::usleep(luck % kind.longestLife);
  ::_exit(0);
}

/// Brings up one after the other until the storm is over.
int breed(Scene& scene, Kind const& kind) {
  std::srand(static_cast<unsigned int>(::getpid()));
  while (!scene.isOver) {
    const auto luck = static_cast<unsigned int>(std::rand());
#ifdef __SANITIZE_THREAD__
    const pid_t pid = ::_Fork();  // what the sanitizer makes of the other takes too long
#else
    const pid_t pid = ::vfork();  // shares the memory, for speed
#endif
    if (pid == 0) live(scene, kind, luck);
    int status = 0;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid) continue;  // no number is free
    if (kind.name == nullptr)
      ++(status == 0 ? scene.bystanders : scene.harmed);
    else if (status != 0)
      ++(WTERMSIG(status) == SIGTERM ? scene.terminated : scene.killed);
  }
  return 0;
}

class Watchdog {
 public:
  explicit Watchdog(Scene& scene) : fScene(scene) {}

  void pass() {
    std::vector<unsigned int> pids, owners;  // of whose parents nothing is asked
    isAnswer(fUtilities.find(kTarget, pids, owners));
    std::transform(pids.begin(), pids.end(), owners.begin(), [&](auto pid) { return owner(pid); });
    if (std::rand() % 4 != 0) ::usleep(static_cast<unsigned int>(std::rand()) % 1000);
    for (std::size_t i = 0; i < pids.size(); ++i) {
      if (std::rand() % 2 == 0) read(pids[i], owner(pids[i]) != owners[i]);
      const bool isStranger = owner(pids[i]) != owners[i];
      const bool isKilled = isAnswer(fUtilities.kill(pids[i]));
      fScene.kills += isKilled;
      fScene.handChanges += isStranger;
      fScene.strangersKilled += isKilled && isStranger;
    }
  }

 private:
  unsigned int owner(unsigned int pid) const { return fScene.owner[pid]; }

  bool isAnswer(int res) {
    if (res != PResult::ok && res != PResult::notFound) ++fScene.surprises;
    return res == PResult::ok;
  }

  void read(unsigned int pid, bool isStranger) {
    // The first answers may still be what the look at the table has seen, the second may not.
    for (const bool mayBeOld : {true, false}) {
      bool running = false;
      unsigned int percent = 0;
      unsigned long long kib = 0;
      const int answers = isAnswer(fUtilities.isRunning(pid, running)) +
                          isAnswer(fUtilities.getCPUUsage(pid, percent)) +
                          isAnswer(fUtilities.getMemoryUsage(pid, kib));
      fScene.strangersRead += isStranger && !mayBeOld && answers > 0;
    }
  }

  Scene& fScene;
  ProcessUtilities fUtilities{{.killGrace = 30ms}, std::make_shared<spdlog::logger>("storm")};
};

template <class Act>
pid_t inChild(Act act) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::_exit(act());
}

int storm(unsigned int enough) {
  auto& scene = *new (::mmap(nullptr, sizeof(Scene), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Scene;
  const auto start = Clock::now();
  inChild([&] {
    for (Watchdog dog(scene); scene.ended() < enough && Clock::now() - start < 100s;) dog.pass();
    scene.isOver = true;
    return 0;
  });
  for (auto const& kind : kKinds) inChild([&] { return breed(scene, kind); });
  for (int status = 0; ::wait(&status) > 0;)
    if (status != 0) ++scene.harmed, scene.isOver = true;
  ::dprintf(1,
            "ended by SIGTERM %u, by SIGKILL %u; kills that succeeded %u; bystanders %u; numbers "
            "that changed hands before the kill %u; %.1f s\nbystanders harmed %u, strangers that "
            "kill answered for %u, that were read %u, surprises %u\n",
            +scene.terminated, +scene.killed, +scene.kills, +scene.bystanders, +scene.handChanges,
            std::chrono::duration<double>(Clock::now() - start).count(), +scene.harmed,
            +scene.strangersKilled, +scene.strangersRead, +scene.surprises);
  const auto wrong = scene.harmed + scene.strangersKilled + scene.strangersRead + scene.surprises;
  return wrong > 0 || scene.ended() < enough || scene.handChanges == 0;
}

}  // namespace

int main(int argc, char** argv) {
  // At once, for a search for leaks could start no thread here.
  ::_exit(storm(static_cast<unsigned int>(argc > 1 ? std::atoi(argv[1]) : 10'000)));
}
