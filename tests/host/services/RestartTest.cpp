#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <future>

#include "framework/PResult.h"
#include "host/HoldRef.h"
#include "host/services/OsRestart.h"
#include "tests/host/process/TemporaryFolder.h"
#include "tests/host/services/CollectedLog.h"

using std::chrono::seconds;
using std::chrono::sys_seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

PastRestart madeAt(long long time, long long uptime, char const* bootId = "before") {
  return {{sys_seconds(seconds(time)), seconds(uptime), bootId}, "test"};
}

TEST(RestartBrake, KeepsToTheLimitsWhateverTheWallClockSays) {
  struct Case {
    RestartLimits limits;
    std::vector<PastRestart> past;
    long long time, uptime;
    bool isRecorded;
    std::string reason;  ///< empty: allowed
  };
  const RestartLimits usual{seconds(300), 2, seconds(1000)};
  const RestartLimits any{seconds(0), 3, seconds(1000)};
  const std::vector<PastRestart> two = {madeAt(5000, 9), madeAt(5400, 9)};
  const std::vector<PastRestart> own = {madeAt(1, 310, "now"), madeAt(9999, 320, "now")};
  const Case cases[] = {
      {usual, {}, 5000, 299, true, ".*up for 299 s, .* 300 s; possible in 1 s"},
      {usual, {}, 5000, 300, true, ""},
      {{seconds(0), 0, seconds(1)}, {}, 5000, 9000, true, "restart_limit is 0"},
      {usual, two, 5999, 300, true, "2 within the last 1000 s .* is 2; possible in 1 s"},
      {usual, two, 6000, 300, true, ""},
      // Set back: as old as this boot. Set forward: of this boot are still known.
      {usual, two, 70, 999, true, "2 within .*; possible in 1 s"},
      {usual, two, 70, 1000, true, ""},
      {usual, own, 99999, 1309, true, "2 within .*; possible in 1 s"},
      {usual, own, 1, 1310, true, ""},
      // The limit was lowered since.
      {{seconds(0), 1, seconds(1000)}, two, 5500, 9, true, "2 within .*; possible in 900 s"},
      {any, {}, 5000, 333, false, "there is no record .* 333 s, .* 334 s; possible in 1 s"},
      {any, {}, 5000, 334, false, ""},
  };
  for (Case const& each : cases) {
    const RestartMoment now{sys_seconds(seconds(each.time)), seconds(each.uptime), "now"};
    const auto refusal = refuseRestart(each.limits, each.past, now, each.isRecorded);
    EXPECT_THAT(refusal ? refusal->reason : "", MatchesRegex(each.reason)) << each.uptime;
  }
}

/// A machine on which restarts are asked for.
struct Machine : IClock {
  Machine() { std::filesystem::create_directory(folder.path("state")); }
  std::chrono::microseconds monotonic() const override { return {}; }
  std::chrono::microseconds sinceBoot() const override { return seconds(uptime); }

  auto start(std::string bootId = "first") {
    const auto run = [this](std::string const& commandLine, unsigned int& pid) {
      pid = 42;
      return act(commandLine);
    };
    const RestartClocks clocks{std::shared_ptr<IClock const>(this, [](auto*) {}),
                               [this] { return sys_seconds(seconds(time)); }, std::move(bootId)};
    std::optional<RestartJournal> journal;
    if (hasJournal) journal.emplace(folder.path("state"), log.logger());
    const RestartMeans means{command, run, [this](unsigned int) { return isRunning; },
                             [this] { return act("kernel"); }, isRoot};
    return holdRef(new OsRestart(means, clocks, limits, std::move(journal), log.logger()));
  }

  int act(std::string const& what) {
    did += what;
    if (meanwhile) meanwhile();
    return outcome;
  }

  TemporaryFolder folder;
  CollectedLog log;
  RestartLimits limits;
  std::string command, did;
  std::function<void()> meanwhile;  ///< while the restart is made
  bool isRoot = true, hasJournal = true, isRunning = false;
  int outcome = PResult::ok;
  long long time = 1'000'000'000, uptime = 1000;
};

TEST(Restart, GoesToTheCommandOrAsRootToTheKernel) {
  struct Case {
    const char* command;
    bool isRoot;
    int mode, outcome, res;
    std::string did, logged;
  };
  const Case cases[] = {
      {"", true, 1, 0, -EINVAL, "", "error test: .* refused: there is no mode 1"},
      {"", false, 0, 0, -EPERM, "", "error test: .* refused: not root, and no restart_comm.*"},
      {"", true, 0, 0, 0, "kernel", "warning test: .*: by the kernel, now"},
      {"go now", false, 0, 0, 0, "go now", "warning test: .*: running `go now', pid=42"},
      {"go", true, 0, -ENOENT, -ENOENT, "go", "error test: .* cannot run `go': No such file.*"},
  };
  for (Case const& each : cases) {
    Machine machine;
    machine.command = each.command;
    machine.isRoot = each.isRoot;
    machine.outcome = each.outcome;
    const auto restart = machine.start();
    EXPECT_EQ(restart->restart(each.mode), each.res);
    EXPECT_EQ(machine.did, each.did);
    EXPECT_THAT(machine.log.lines(), ElementsAre(MatchesRegex(each.logged)));
    EXPECT_EQ(restart->state().past.size(), each.res == 0 ? 1U : 0U);
  }
}

TEST(Restart, IsNotMadeTwiceNorBeyondTheLimitAndSaysSoOnce) {
  Machine machine;
  machine.command = "go";
  machine.hasJournal = false;
  machine.limits.limit = 2;
  const auto restart = machine.start();
  machine.meanwhile = [&] { EXPECT_EQ(restart->restart(0), 0); };
  const auto ask = [&](bool isRunning, long long uptime) {
    machine.isRunning = isRunning;
    machine.uptime = uptime;
    return restart->restart(0);
  };
  for (const long long uptime : {1000, 1001, 1200}) EXPECT_EQ(ask(true, uptime), 0);
  for (const long long uptime : {1201, 1202, 1320}) EXPECT_EQ(ask(false, uptime), 0);
  EXPECT_EQ(machine.did, "gogo");
  for (const long long uptime : {1321, 1322, 1380, 1381}) EXPECT_EQ(ask(false, uptime), -EAGAIN);
  EXPECT_EQ(machine.did, "gogo");
  const auto running = HasSubstr("running `go', pid=42");
  const auto again = HasSubstr("already under way");
  const auto inVain = HasSubstr("did not go down");
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(HasSubstr("no state_dir"), running, again, inVain, running, again, inVain,
                          HasSubstr("possible in 86079 s"), HasSubstr("possible in 86019 s")));
  EXPECT_THAT(restart->state().lastRefusal->reason, HasSubstr("in 86019 s"));
}

TEST(Restart, IsRememberedFromBootToBootAndItsCauseIsShown) {
  Machine machine;
  const std::string name = machine.folder.path("state/restarts");
  for (std::string const boot : {"1", "2", "3"}) {
    machine.meanwhile = [&] {  // it is recorded before
      std::ifstream file(name);
      EXPECT_EQ(std::count(std::istreambuf_iterator(file), {}, '\n'), std::stoi(boot) + 1);
    };
    EXPECT_EQ(machine.start(boot)->request("as asked\nby " + boot), 0);
    machine.time += 2000;
  }
  struct stat status {};
  ASSERT_EQ(::stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  machine.meanwhile = nullptr;
  const auto lines = machine.log.lines().size();
  EXPECT_EQ(machine.start("3")->restart(0), -EAGAIN);
  EXPECT_EQ(machine.log.lines().size(), lines + 1);  // the same boot: no cause is shown
  EXPECT_EQ(machine.start("4")->restart(0), -EAGAIN);
  EXPECT_EQ(machine.start("4")->state().inWindow, 3U);
  EXPECT_EQ(machine.log.lines().at(lines + 1),
            "info test: the last restart of the operating system was requested at "
            "2001-09-09 02:53:20 UTC: as asked by 3");
  machine.outcome = -EIO;  // does not count: the next boot knows of no fourth
  machine.time += 82400;
  EXPECT_EQ(machine.start("4")->state().inWindow, 1U);
  EXPECT_EQ(machine.start("4")->restart(0), -EIO);
  EXPECT_EQ(machine.start("5")->state().past.back().cause, "as asked by 3");
}

TEST(Restart, WithoutARecordKeepsToItsShareOfTheWindow) {
  const std::string good = "vesk-restarts 1\n1 1 x y\n";
  for (std::string const& content :
       {std::string(), good + "1 1 x", good + "1 -1 x y\n", good + std::string(65536, ' '),
        std::string("link"), std::string("none"), std::string("unwritable")}) {
    Machine machine;
    const std::string folder = machine.folder.path("state");
    if (content == "link") {
      machine.folder.makeFile("elsewhere", good);
      std::filesystem::create_symlink("../elsewhere", folder + "/restarts");
    } else if (content == "none") {
      std::filesystem::remove_all(folder);
    } else {
      machine.folder.makeFile("state/restarts", content == "unwritable" ? good : content);
    }
    // So that not even root can write there.
    if (content == "unwritable") machine.folder.makeFile("state/restarts.new/x", "");
    const auto restart = machine.start();
    machine.uptime = 28799;
    EXPECT_EQ(restart->restart(0), -EAGAIN) << content;
    EXPECT_THAT(machine.log.text(), HasSubstr("possible in 1 s"));
    machine.uptime = 28860;
    EXPECT_EQ(restart->restart(0), 0) << content;
    EXPECT_EQ(std::filesystem::exists(folder + "/restarts.bad"),
              content != "none" && content != "unwritable");
    // The next boot knows of it where that could be written.
    EXPECT_EQ(machine.start("next")->state().past.size(), content == "none" ? 0U : 1U);
  }
}

TEST(Restart, OfTheKernelDoesNotWaitForADiskThatHangs) {
  auto answer = std::make_shared<std::promise<void>>();
  const auto hang = [answer] { answer->get_future().wait(); };
  EXPECT_EQ(restartMachine(
                hang, [] { return -EPERM; }, std::chrono::milliseconds(20)),
            -EPERM);
  answer->set_value();
}

}  // namespace
