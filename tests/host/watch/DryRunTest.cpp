// The real daemon among real processes, with and without a dry run.

#include <gmock/gmock.h>

#include "tests/host/daemon/ChildProcess.h"
#include "tests/host/process/TemporaryFolder.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class DryRun : public testing::Test {
 protected:
  /// A table for a copy of the test program, of which one is too many.
  std::string entry(const char* number, std::string const& more) const {
    const std::string name = nameOf(number);
    std::filesystem::copy_file(TEST_PROGRAM, fFolder.path(name));
    return std::string("[watchdog.process.") + number + "]\nname = '" + name + "'\nexecutable = '" +
           fFolder.path(name) + "'\narguments = 'stay'\ninst_enabled = true\ninst_limit = 1\n" +
           more;
  }
  ChildProcess runProgram(const char* number) const {
    return ChildProcess({fFolder.path(nameOf(number)), "stay"});
  }
  ChildProcess runDaemon(std::string const& entries, std::vector<std::string> words = {}) const {
    fFolder.makeFile("v.toml", "[host]\nplugins = ['" WATCHDOG
                               "']\nrestart_min_uptime = 0\nstate_dir = '.'\n"
                               "restart_command = 'touch " +
                                   fFolder.path("restarted") +
                                   "'\n"
                                   "[watchdog.process]\ncpu_enabled = true\nmem_enabled = true\n"
                                   "inst_enabled = true\nsample_time = 1\n" +
                                   entries);
    words.insert(words.begin(), {VESKD, "-c", fFolder.path("v.toml")});
    return ChildProcess(words);
  }
  static void expectLine(ChildProcess& program, std::string const& part) {
    EXPECT_THAT(program.awaitLine(part), HasSubstr(part)) << program.text();
  }
  static std::string nameOf(const char* number) {
    return std::string("dry") + number + std::to_string(::getpid());
  }

  TemporaryFolder fFolder;
};

TEST_F(DryRun, HoldsBackTheActsOfOneProgramOnly) {
  const std::string entries = entry("1", "action = 'restart'\ndry_run = true\n") +
                              entry("2", "action = 'terminate'\n") +
                              entry("3", "action = 'osrestart'\n");
  ChildProcess held = runProgram("1");
  ChildProcess ended = runProgram("2");
  ChildProcess restarting = runProgram("3");
  ChildProcess veskd = runDaemon(entries);
  EXPECT_EQ(ended.awaitEnd(), -SIGTERM);
  expectLine(veskd, "operating-system restart: running");
  expectLine(veskd, " (" + nameOf("1") + "): 1 instance counts, 1 is too many");
  expectLine(veskd, "would have started " + fFolder.path(nameOf("1")) + " stay: restart: process ");
  veskd.signal(SIGTERM);
  EXPECT_EQ(veskd.awaitEnd(), 0);
  held.signal(SIGINT);
  EXPECT_EQ(held.awaitEnd(), -SIGINT) << "ended by something else before";
  EXPECT_THAT(veskd.text(), AllOf(HasSubstr("dry run of " + nameOf("1") + ": nothing"),
                                  Not(HasSubstr("not used")), Not(HasSubstr("unknown key"))));
  EXPECT_THAT(contentOf(fFolder.path("restarts")),
              HasSubstr("entry `" + nameOf("3") + "': 1 instance counts, 1 is too many"));
}

TEST_F(DryRun, HoldsBackEverythingWhenTheHostIsToldSo) {
  const std::string entries = entry("1", "action = 'terminate'\n") +
                              entry("2", "action = 'osrestart'\n") +
                              entry("3", "respawn_enabled = true\nrespawn_limit = 1\n") +
                              entry("4", "respawn_enabled = true\nrespawn_limit = 1\n");
  std::filesystem::remove(fFolder.path(nameOf("4")));
  ChildProcess held = runProgram("1");
  ChildProcess restarting = runProgram("2");
  ChildProcess veskd = runDaemon(entries, {"--dry-run"});
  expectLine(veskd, " (" + nameOf("1") + "): 1 instance counts, 1 is too many");
  expectLine(veskd, "would have restarted the operating system: entry `" + nameOf("2") +
                        "': 1 instance counts, 1 is too many");
  expectLine(veskd, "would have started " + fFolder.path(nameOf("3")) +
                        " stay: 0 instances count, 1 is wanted");
  expectLine(veskd, nameOf("4") + " cannot be started: No such file");
  expectLine(veskd, "`" + nameOf("4") + "', res=-2");
  veskd.signal(SIGTERM);
  EXPECT_EQ(veskd.awaitEnd(), 0);
  held.signal(SIGINT);
  EXPECT_EQ(held.awaitEnd(), -SIGINT) << "ended by something else before";
  EXPECT_THAT(veskd.text(), Not(HasSubstr("(pid ")));
  EXPECT_FALSE(std::filesystem::exists(fFolder.path("restarted")));
  EXPECT_FALSE(std::filesystem::exists(fFolder.path("restarts")));
}

}  // namespace
