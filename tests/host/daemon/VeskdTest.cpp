// The daemon as its users meet it: the real program with the real plug-in.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>

#include "host/daemon/ServiceManager.h"
#include "tests/host/daemon/VeskdFixture.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

using Veskd = VeskdFixture;

TEST_F(Veskd, EndsWithTheCodeAndTheLineOfWhatIsWrong) {
  struct Case {
    std::vector<std::string> words;
    std::string file;
    int code;
    std::string line;
  };
  const std::string file = path("v.toml");
  const Case cases[] = {
      {{"--help"}, "", 0, ""},
      {{}, "", 69, "veskd: nothing to run: .*\n"},
      {{"--log-level", "loud"}, "", 64, "veskd: --log-level: loud not in .*; see veskd --help\n"},
      {{"-c", ""}, "", 64, "veskd: --config: an empty name; .*\n"},
      {{"-c", path("none.toml")}, "", 66, "veskd: .*/none.toml: No such file or directory\n"},
      {{"--check"}, "", 64, "veskd: .*\n"},
      {{"--check", "-c", path("none.toml")}, "", 66, ".*No such file or directory.*"},
      {{"-c", path()}, "", 66, "veskd: .*: Is a directory\n"},
      {{"-c", file}, "[host]\nplugins = [\n[x\n", 78, "veskd: .*/v.toml:3:[0-9]+: .*\n"},
      {{"-c", file}, "[host]\nlog = ''\n", 78, "veskd: .*/v.toml:2:1: unknown key `host.log'\n"},
      {{"-c", file}, "", 69, "veskd: .*/v.toml: nothing to run: .*\n"},
      {{"-c", file}, kHost + "log_file = 'no/log'", 73, "veskd: cannot open .*: No such.*\n"},
      {{"-c", file}, kHost + "program_output = '.'", 73, "veskd: cannot open .*: Is a directory\n"},
      {{"-c", file},
       kHost + "control_socket = 'log'\n" + kGlobals,
       73,
       ".* something that is not a socket\n"},
      {{"-c", file}, kHost + "log_file = 'log'", 69, "veskd: ended by a failure, see .*/log\n"},
      {{"--plugin", path("p.so")}, "", 69, ".* error veskd: cannot load .*/p.so: No such .*\n"},
      {{"--plugin", LIBVESK}, "", 69, ".*vesk.so.*: not a plug-in, it has no veskGetPlugin.*\n"},
      {{"--plugin", WATCHDOG}, "", 69, ".* no configuration for `veskp.watchdog.process'.*\n"},
      {{"-c", file}, kHost + "[w]\nproces = 1\n", 69, ".*/v.toml:4:1: `w.proces' is not used.*\n"},
  };
  fFolder.makeFile("log", "old\n");
  for (Case const& each : cases) {
    fFolder.makeFile("v.toml", each.file);
    std::vector<std::string> words = each.words;
    words.insert(words.begin(), VESKD);
    ChildProcess veskd(words);
    EXPECT_EQ(veskd.awaitEnd(), each.code) << veskd.text();
    EXPECT_THAT(veskd.text(), MatchesRegex(each.line));
    EXPECT_TRUE(std::ranges::count(veskd.text(), '\n') <= 1 || each.code == 69) << veskd.text();
  }
  EXPECT_THAT(contentOf(path("log")),
              MatchesRegex("old\n.* error veskd: cannot start a plug-in: .*: res=-504\n"));
}

TEST_F(Veskd, StopsCleanlyOnEachStopSignal) {
  const std::pair<std::vector<std::string>, std::vector<int>> cases[] = {
      {{}, {SIGINT}}, {{"nohup"}, {SIGHUP, SIGTERM}}};
  for (auto const& [words, signals] : cases) {
    auto veskd = run(kHost + kGlobals, words);
    EXPECT_NE(veskd->awaitLine(", plug-ins: 1"), "") << veskd->text();
    for (const int number : signals) veskd->signal(number);
    EXPECT_EQ(veskd->awaitEnd(), 0);
    const std::string name = signals.back() == SIGINT ? "SIGINT" : "SIGTERM";
    EXPECT_THAT(veskd->text(),
                MatchesRegex(".* veskd: stopping: " + name + "\n.* info veskd: stopped\n"));
    EXPECT_THAT(veskd->text(), Not(HasSubstr("reload"))) << "nohup";
  }
}

TEST_F(Veskd, GivesNoSignOfLifeWhileTheWorkerIsHeldAndEndsAtTheSecondInterrupt) {
  const Listener manager("@" + fName);
  auto veskd = run(kHost + "kill_grace_ms = 600000\nprogram_environment = ['NOTIFY_SOCKET']\n" +
                       kGlobals + entryOf(TEST_PROGRAM, "stubborn") +
                       "inst_enabled = true\ninst_limit = 3\naction = 'restart'\n",
                   manager.words("4000000"));
  EXPECT_THAT(manager.next(), MatchesRegex("READY=1\nSTATUS=running, .*, plug-ins: 1"));
  for (int fed = 0; fed < 3;) {
    const std::string message = manager.next();
    ASSERT_NE(message, "");
    if (message.starts_with("WATCHDOG=1")) ++fed;
  }
  const ChildProcess second({path(fName), "stubborn"});
  const ChildProcess third({path(fName), "stubborn"});
  EXPECT_NE(veskd->awaitLine("before restarting"), "") << veskd->text();
  while (!manager.next(MSG_DONTWAIT).empty()) continue;
  // One at most for the look that found them.
  std::string message = manager.next();
  if (message.starts_with("WATCHDOG=1")) message = manager.next();
  EXPECT_THAT(message, StartsWith("STATUS=no process was looked for in 3.0 s; at 4.0 s "));
  veskd->signal(SIGTERM);
  EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=stopping: SIGTERM");
  veskd->signal(SIGINT);
  EXPECT_EQ(veskd->awaitEnd(), -SIGINT);
}

TEST(ServiceManager, IsTakenFromTheEnvironmentIfItMeansThisProcess) {
  struct stat own {};
  ::fstat(STDERR_FILENO, &own);
  const std::string journal = std::to_string(own.st_dev) + ":" + std::to_string(own.st_ino);
  const std::string pid = std::to_string(::getpid());
  const char* const names[] = {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID", "JOURNAL_STREAM"};
  struct Case {
    std::string values[4];
    int microseconds;
    bool isJournal;
  };
  for (Case const& each :
       {Case{{"/s", "7", pid, journal}, 7, true}, Case{{"/s", "7", "", journal + "1"}, 7, false},
        Case{{"/s", "7", "1", ""}, 0, false}, Case{{"/s", "7", pid + "x", ":"}, 0, false},
        Case{{"/s", "-7", pid, "1:"}, 0, false}}) {
    for (int i = 0; i < 4; ++i) ::setenv(names[i], each.values[i].c_str(), 1);
    const ServiceManager manager = takeServiceManager();
    EXPECT_EQ(manager.notifySocket, "/s");
    EXPECT_EQ(manager.watchdogInterval.count(), each.microseconds) << each.values[2];
    EXPECT_EQ(manager.isJournalOnStderr, each.isJournal) << each.values[3];
    for (const char* name : names) EXPECT_EQ(std::getenv(name), nullptr) << name;
  }
}

}  // namespace
