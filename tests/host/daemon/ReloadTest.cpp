// What a SIGHUP comes to: the real daemon with the real plug-in.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/host/daemon/VeskdFixture.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

using Reload = VeskdFixture;

TEST_F(Reload, WatchesWhatTheNewFileSaysAndTouchesNothingThatRuns) {
  const std::string entry = entryOf("/bin/sleep", "1000");
  const std::string next = entryOf("/bin/sleep", "2000", "b", 2);
  auto veskd = run(kHost + "log_level = 'debug'\n" + kGlobals + entry);
  const pid_t first = awaitStart(*veskd, fName);
  ASSERT_GT(first, 1);
  reload(*veskd, kHost + "log_level = 'debug'\nkill_grace_ms = 1\n" +
                     std::string(kGlobals).replace(kGlobals.rfind('1'), 1, "2") + entry + next);
  const pid_t second = awaitStart(*veskd, fName + "b");
  ASSERT_GT(second, 1);
  reload(*veskd, "[host]\nx = = 1\n");
  EXPECT_THAT(veskd->awaitLine("not reloaded: "), HasSubstr("v.toml:2:5: error: "));
  std::filesystem::remove(path("v.toml"));
  veskd->signal(SIGHUP);
  EXPECT_THAT(veskd->awaitLine("not reloaded: "), HasSubstr("v.toml: No such file or directory"));
  ::kill(second, SIGKILL);
  const pid_t third = awaitStart(*veskd, fName + "b");  // what was in force still is
  EXPECT_TRUE(third > 1 && third != second) << third;
  EXPECT_EQ(::kill(first, 0), 0);
  veskd->signal(SIGTERM);
  EXPECT_EQ(veskd->awaitEnd(), 0);
  std::string const& log = veskd->text();
  const std::string changed = "`host.kill_grace_ms' has changed, which counts from the next start";
  EXPECT_THAT(log, AllOf(HasSubstr(changed), HasSubstr("sample_time = 2"),
                         Not(HasSubstr("`host.log_level' has changed"))));
  EXPECT_EQ(log.find("restarted `" + fName + "'"), log.rfind("restarted `" + fName + "'"));
}

TEST_F(Reload, IsToldToTheServiceManagerWhichNeedNotFearThatNobodyLooks) {
  const Listener manager("@" + fName);
  auto veskd = run(kHost + kGlobals + entryOf("/bin/sleep", "1000"), manager.words("2000000"));
  EXPECT_THAT(manager.next(), StartsWith("READY=1\n"));
  EXPECT_GT(awaitStart(*veskd, fName), 1);
  reload(*veskd, kHost + kGlobals);
  for (const char* next : {"RELOADING=1\nMONOTONIC_USEC=[0-9]+", "READY=1\nSTATUS=running.*"}) {
    std::string message = "WATCHDOG=1";
    // A slow machine's pass may be late, which is told as well.
    while (message.starts_with("WATCHDOG=1") || message.starts_with("STATUS=no process")) {
      message = manager.next();
    }
    EXPECT_THAT(message, MatchesRegex(next));
  }
  for (int i = 0; i < 5; ++i) EXPECT_EQ(manager.next(), "WATCHDOG=1");
}

TEST_F(Reload, GoesBackToWhatWasReadBeforeWhenAPluginDoesNotStart) {
  // Under another name the check does not know the watchdog, and misses nothing.
  std::filesystem::create_symlink(WATCHDOG, path("w.so"));
  const std::string own = "d/veskp.watchdog.process.toml";
  fFolder.makeFile(own, kGlobals + entryOf("/bin/sleep", "1000"));
  auto veskd = run("[host]\nplugins = ['w.so']\nconfig_dir = 'd'\n");
  const pid_t first = awaitStart(*veskd, fName);
  ASSERT_GT(first, 1);
  for (int i = 0; i < 2; ++i) {  // what came back can come back again
    std::filesystem::remove(path(own));
    veskd->signal(SIGHUP);
    EXPECT_THAT(veskd->awaitLine("not reloaded: "),
                HasSubstr("w.so: res=-504; the former configuration is in force again"));
  }
  ::kill(first, SIGKILL);
  EXPECT_GT(awaitStart(*veskd, fName), 1);
}

}  // namespace
