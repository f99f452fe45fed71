// The real daemon among real processes, with and without a dry run.

#include <gmock/gmock.h>

#include "tests/host/daemon/VeskdFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class DryRun : public VeskdFixture {
 protected:
  std::string nameOf(int number) const { return fName + std::to_string(number); }

  /// A table for a copy of the test program, of which one is too many.
  std::string entry(int number, std::string const& more = "") {
    return entryOf(TEST_PROGRAM, "stay", std::to_string(number), number) +
           "inst_enabled = true\ninst_limit = 1\n" + more;
  }
  ChildProcess runProgram(int number) const { return ChildProcess({path(nameOf(number)), "stay"}); }

  /// @param held whether the host is told to hold back everything.
  std::unique_ptr<ChildProcess> runDaemon(std::string const& entries, bool held) {
    return run(kHost + "restart_min_uptime = 0\nstate_dir = '.'\nrestart_command = 'touch " +
                   path("restarted") + "'\n" + kGlobals + entries,
               {"sh", "-c", held ? "exec \"$@\" --dry-run" : "exec \"$@\"", "-"});
  }
  /// Ends the host, and one that was to be spared.
  static void endBoth(ChildProcess& veskd, ChildProcess& spared) {
    veskd.signal(SIGTERM);
    EXPECT_EQ(veskd.awaitEnd(), 0);
    spared.signal(SIGINT);
    EXPECT_EQ(spared.awaitEnd(), -SIGINT) << "ended by something else before";
  }
  static void expectLine(ChildProcess& veskd, std::string const& part) {
    EXPECT_THAT(veskd.awaitLine(part), HasSubstr(part)) << veskd.text();
  }
};

TEST_F(DryRun, HoldsBackTheActsOfOneProgramOnly) {
  const std::string entries = entry(1, "action = 'restart'\ndry_run = true\n") +
                              entry(2, "action = 'terminate'\n") +
                              entry(3, "action = 'osrestart'\n");
  ChildProcess held = runProgram(1);
  ChildProcess ended = runProgram(2);
  ChildProcess restarting = runProgram(3);
  auto veskd = runDaemon(entries, false);
  EXPECT_EQ(ended.awaitEnd(), -SIGTERM);
  expectLine(*veskd, "operating-system restart: running");
  expectLine(*veskd, " (" + nameOf(1) + "): 1 instance counts, 1 is too many");
  expectLine(*veskd, "would have started " + path(nameOf(1)) + " stay: restart: process ");
  endBoth(*veskd, held);
  EXPECT_THAT(veskd->text(), AllOf(HasSubstr("dry run of " + nameOf(1) + ": nothing"),
                                   Not(HasSubstr("not used")), Not(HasSubstr("unknown key"))));
  EXPECT_THAT(contentOf(path("restarts")),
              HasSubstr("entry `" + nameOf(3) + "': 1 instance counts, 1 is too many"));
}

TEST_F(DryRun, HoldsBackEverythingWhenTheHostIsToldSo) {
  const std::string entries =
      entry(1, "action = 'terminate'\n") + entry(2, "action = 'osrestart'\n") + entry(3) + entry(4);
  std::filesystem::remove(path(nameOf(4)));
  ChildProcess held = runProgram(1);
  ChildProcess restarting = runProgram(2);
  auto veskd = runDaemon(entries, true);
  expectLine(*veskd, " (" + nameOf(1) + "): 1 instance counts, 1 is too many");
  expectLine(*veskd, "would have restarted the operating system: entry `" + nameOf(2) +
                         "': 1 instance counts, 1 is too many");
  expectLine(*veskd,
             "would have started " + path(nameOf(3)) + " stay: 0 instances count, 1 is wanted");
  expectLine(*veskd, nameOf(4) + " cannot be started: No such file");
  expectLine(*veskd, "`" + nameOf(4) + "', res=-2");
  endBoth(*veskd, held);
  EXPECT_THAT(veskd->text(), Not(HasSubstr("(pid ")));
  EXPECT_FALSE(std::filesystem::exists(path("restarted")));
  EXPECT_FALSE(std::filesystem::exists(path("restarts")));
}

}  // namespace
