#include <gmock/gmock.h>

#include "host/daemon/Setup.h"
#include "host/daemon/WatchPlan.h"
#include "tests/host/process/TemporaryFolder.h"

using testing::ElementsAre;
using testing::FieldsAre;

namespace {

/// Reads `text` as the configuration file of the folder.
std::variant<DaemonSetup, Failure> read(TemporaryFolder const& folder, std::string const& text,
                                        Options options = {}) {
  folder.makeFile("host.toml", text);
  options.configFile = folder.path("host.toml");
  return readSetup(options);
}

TEST(Setup, BringsTheHostsTableAndTheCommandLineTogetherAndLeavesTheRest) {
  const TemporaryFolder folder;
  const char* words[] = {"veskd", "--plugin", "/1.so", "--log-level=debug", "--plugin", "/2.so"};
  const auto options = std::get<Options>(parseOptions(6, words));
  const std::string text = R"([host]
plugins = ["a.so", "/b.so"]
log_level = "error"
config_dir = "conf/../d"
kill_grace_ms = 600000
process_events = false
restart_command = "/sbin/reboot 'now then'"
restart_min_uptime = 86400
restart_limit = 0
restart_window = 1
state_dir = "s"
program_environment = ["A=b=c", "VESK_TEST", "EMPTY=", "NOT_OF_THE_HOST"]
program_limits = ["core=0", "fsize=4294967296:unlimited"]
[watchdog]
x = 1
)";
  ::setenv("VESK_TEST", "x", 1);
  const auto setup = std::get<DaemonSetup>(read(folder, text, options));
  HostSettings const& settings = setup.settings;
  EXPECT_THAT(settings.plugins, ElementsAre(folder.path("a.so"), "/b.so", "/1.so", "/2.so"));
  EXPECT_EQ(settings.log.level, spdlog::level::debug);
  EXPECT_EQ(settings.configDir, folder.path("d"));
  EXPECT_EQ(settings.killGrace, std::chrono::minutes(10));
  EXPECT_FALSE(settings.processEvents);
  EXPECT_EQ(settings.restartCommand, "/sbin/reboot 'now then'");
  EXPECT_THAT(settings.restartLimits, FieldsAre(std::chrono::days(1), 0, std::chrono::seconds(1)));
  EXPECT_EQ(settings.stateDir, folder.path("s"));
  EXPECT_THAT(settings.programEnvironment, ElementsAre("A=b=c", "VESK_TEST=x", "EMPTY="));
  EXPECT_THAT(settings.programLimits,
              ElementsAre(FieldsAre(RLIMIT_CORE, 0, 0),
                          FieldsAre(RLIMIT_FSIZE, 4294967296, RLIM_INFINITY)));
  EXPECT_THAT(setup.mainFile->entries, ElementsAre(testing::Key("watchdog.x")));
  EXPECT_EQ(std::get<DaemonSetup>(read(folder, text)).settings.log.level, spdlog::level::err);
}

TEST(Setup, WhatWasCheckedIsWhatTakesEffectAndADryRunInDoubtHoldsBack) {
  const TemporaryFolder folder;
  const std::string own = "d/veskp.watchdog.process.toml";
  folder.makeFile(own,
                  "[watchdog.process.1]\nname = 'a'\ndry_run = 'yes'\n"
                  "[watchdog.process.2]\nname = 'b'\ndry_run = false\n");
  const auto setup =
      std::get<DaemonSetup>(read(folder, "[host]\nplugins = ['p']\nconfig_dir = 'd'"));
  folder.makeFile(own, "[watchdog.process.1]\nname = 'changed'\n");
  const WatchPlan plan = planOf(setup.settings, setup.mainFile, setup.watchdog);
  EXPECT_THAT(plan.facts.names, ElementsAre("a", "b"));
  EXPECT_THAT(plan.facts.dryRun.names, ElementsAre("a"));
  EXPECT_EQ(plan.sources.files.at(folder.path(own)).entries.count("watchdog.process.2.name"), 1U);
}

TEST(Setup, NoWrongLimitOrVariablePasses) {
  const TemporaryFolder folder;
  const auto expectComplaint = [&folder](std::string const& text, std::string const& wrong) {
    EXPECT_THAT(std::get<Failure>(read(folder, "[host]\n" + text + wrong + "']")).lines,
                ElementsAre(testing::HasSubstr("contains \"" + wrong + "\", but")));
  };
  for (std::string const wrong :
       {"nofile", "nofile=", "nofile=1:", "nofile=:1", "nofile=1:2:3", "nofile=-1", "nofile=+1",
        "nofile= 1", "nofile=1k", "nofile=2:1", "nofile=unlimited:1", "nofile=18446744073709551615",
        "nofile=18446744073709551616", "NOFILE=1", "files=1", "=1", "core=1"}) {
    expectComplaint("program_limits = ['core=0', '", wrong);
  }
  for (std::string const wrong : {"", "=x", "A", "A=2"}) {
    expectComplaint("program_environment = ['A=1', '", wrong);
  }
}

}  // namespace
