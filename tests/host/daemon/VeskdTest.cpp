// The daemon as its users meet it: the real program with the real plug-in.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include "tests/host/daemon/ChildProcess.h"
#include "tests/host/process/TemporaryFolder.h"

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

class Veskd : public testing::Test {
 protected:
  std::string hostTable(std::string const& more = "") const {
    return std::string("[host]\nplugins = ['" WATCHDOG "']\n") + more;
  }
  static constexpr const char* kGlobals =
      "[watchdog.process]\ncpu_enabled = true\nmem_enabled = true\ninst_enabled = true\n"
      "sample_time = 1\n";

  /// Ends what the daemon started and left running, whatever the test came to.
  void TearDown() override {
    for (auto const& process : std::filesystem::directory_iterator("/proc")) {
      std::error_code none;
      const auto program = std::filesystem::read_symlink(process.path() / "exe", none).string();
      if (program.starts_with(path())) {
        ::kill(std::stoi(process.path().filename()), SIGKILL);
      }
    }
  }

  /// Writes the file and runs the daemon on it, behind `words` if there are any.
  std::unique_ptr<ChildProcess> run(std::string const& text, std::vector<std::string> words = {}) {
    fFolder.makeFile("v.toml", text);
    words.insert(words.end(), {VESKD, "-c", path("v.toml")});
    return std::make_unique<ChildProcess>(words);
  }

  std::string path(std::string const& name = "") const { return fFolder.path(name); }

  TemporaryFolder fFolder;
};

TEST_F(Veskd, EndsWithTheCodeAndTheLineOfWhatIsWrong) {
  fFolder.makeFile("parse.toml", "[host]\nplugins = [\n[x\n");
  fFolder.makeFile("host.toml", "[host]\nlog_levl = 'info'\n");
  fFolder.makeFile("empty.toml", "");
  fFolder.makeFile("log.toml", hostTable("log_file = 'no/log'\n"));
  fFolder.makeFile("output.toml", hostTable("program_output = '.'\n"));
  fFolder.makeFile("keys.toml", hostTable() + "[watchdog.process]\ncpu_enable = true\n");
  struct Case {
    std::vector<std::string> words;
    int code;
    std::string line;
  };
  const std::vector<Case> cases = {
      {{}, 69, "veskd: nothing to run: .*\n"},
      {{"--bogus"}, 64, "veskd: The following argument was not expected: --bogus; .*\n"},
      {{"--log-level", "loud"}, 64, "veskd: --log-level: loud not in .*\n"},
      {{"-c", ""}, 64, "veskd: --config: an empty name; .*\n"},
      {{"-c", path("none.toml")}, 66, "veskd: .*/none.toml: No such file or directory\n"},
      {{"-c", path()}, 66, "veskd: .*: Is a directory\n"},
      {{"-c", path("parse.toml")}, 78, "veskd: .*/parse.toml:3:[0-9]+: .*\n"},
      {{"-c", path("host.toml")}, 78, "veskd: .*/host.toml:2:1: unknown key `host.log_levl'\n"},
      {{"-c", path("empty.toml")}, 69, "veskd: .*/empty.toml: nothing to run: .*\n"},
      {{"-c", path("log.toml")}, 73, "veskd: cannot open the log file .*/no/log: No such.*\n"},
      {{"-c", path("output.toml")}, 73, "veskd: cannot open the program output .*: Is a dir.*\n"},
      {{"--plugin", path("p.so")}, 69, ".* error veskd: cannot load a plug-in: .*/p.so: .*\n"},
      {{"--plugin", WATCHDOG}, 69, ".*there is no configuration for `veskp.watchdog.process'.*\n"},
      {{"-c", path("keys.toml")}, 69, ".*/keys.toml:4:1: `watchdog.process.cpu_enable' is not.*\n"},
  };
  for (Case const& each : cases) {
    std::vector<std::string> words = each.words;
    words.insert(words.begin(), VESKD);
    ChildProcess veskd(words);
    EXPECT_EQ(veskd.awaitEnd(), each.code) << veskd.text();
    EXPECT_THAT(veskd.text(), MatchesRegex(each.line));
    // A plug-in that cannot start has its own lines besides.
    const auto lines = std::ranges::count(veskd.text(), '\n');
    EXPECT_TRUE(lines == 1 || each.code == 69) << veskd.text();
  }
}

TEST_F(Veskd, StopsCleanlyOnEachStopSignal) {
  for (auto const& [number, name] :
       {std::pair{SIGTERM, "SIGTERM"}, {SIGINT, "SIGINT"}, {SIGHUP, "SIGHUP"}}) {
    auto veskd = run(hostTable() + kGlobals);
    veskd->awaitLine(" info veskd: running: ");
    veskd->signal(number);
    veskd->awaitLine(std::string(" info veskd: stopping: ") + name);
    veskd->awaitLine(" info veskd: stopped");
    EXPECT_EQ(veskd->awaitEnd(), 0) << name;
  }
  auto veskd = run(hostTable() + kGlobals, {"nohup"});
  veskd->awaitLine("running: ");
  veskd->signal(SIGHUP);
  veskd->signal(SIGTERM);
  veskd->awaitLine("stopping: SIGTERM");
  EXPECT_EQ(veskd->awaitEnd(), 0);
}

TEST_F(Veskd, StartsAKilledProgramAgainAndLeavesItRunning) {
  const std::string name = "vesknap" + std::to_string(::getpid() % 1'000'000);
  std::filesystem::copy_file("/bin/sleep", path(name));
  auto veskd = run(hostTable() + kGlobals + "[watchdog.process.1]\nname = '" + name +
                   "'\nexecutable = '" + path(name) +
                   "'\narguments = '1000'\nrespawn_enabled = true\nrespawn_limit = 1\n"
                   "[watchdog.process.3]\nname = 'x'\n");
  EXPECT_THAT(veskd->awaitLine("' is not used"),
              HasSubstr(path("v.toml") + ":15:1: `watchdog.process.3.name' is not used"));
  const auto awaitStart = [&] {
    const std::string line = veskd->awaitLine("Successfully restarted `" + name + "' '1000'");
    return line.empty() ? 0 : std::stoi(line.substr(line.rfind('=') + 1));
  };
  const pid_t first = awaitStart();
  ASSERT_GT(first, 1);
  ::kill(first, SIGKILL);
  const pid_t second = awaitStart();
  ASSERT_GT(second, 1);
  EXPECT_NE(first, second);
  veskd->signal(SIGTERM);
  EXPECT_EQ(veskd->awaitEnd(), 0);
  std::ifstream stat("/proc/" + std::to_string(second) + "/stat");
  const std::string text{std::istreambuf_iterator<char>(stat), {}};
  EXPECT_THAT(text, MatchesRegex("[0-9]+ \\(" + name + "\\) [^ZX] .*"));
}

TEST_F(Veskd, ASecondInterruptDoesNotWaitForAStubbornProgram) {
  const std::string name = "veskmule" + std::to_string(::getpid() % 1'000'000);
  std::filesystem::copy_file(TEST_PROGRAM, path(name));
  auto veskd = run(hostTable("kill_grace_ms = 600000\n") + kGlobals +
                   "[watchdog.process.1]\nname = '" + name + "'\nexecutable = '" + path(name) +
                   "'\narguments = 'stubborn'\nrespawn_enabled = true\nrespawn_limit = 1\n"
                   "inst_enabled = true\ninst_limit = 1\naction = 'terminate'\n");
  veskd->awaitLine("Killing all processes");
  veskd->signal(SIGTERM);
  veskd->awaitLine("stopping: SIGTERM");
  veskd->signal(SIGINT);
  EXPECT_EQ(veskd->awaitEnd(), -SIGINT);
}

TEST_F(Veskd, ALogFileTakesTheLinesAndStandardErrorNamesIt) {
  auto veskd = run(hostTable("log_file = 'log'\n"));
  EXPECT_EQ(veskd->awaitEnd(), 69);
  EXPECT_EQ(veskd->text(), "veskd: ended by a failure, see " + path("log") + "\n");
  std::ifstream file(path("log"));
  const std::string log{std::istreambuf_iterator<char>(file), {}};
  EXPECT_THAT(log, HasSubstr(" error veskd: cannot start a plug-in: " WATCHDOG ": res=-504\n"));
}

}  // namespace
