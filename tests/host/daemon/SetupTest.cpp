#include <gmock/gmock.h>

#include "host/daemon/Setup.h"
#include "tests/host/process/TemporaryFolder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class Setup : public testing::Test {
 protected:
  std::variant<DaemonSetup, Failure> read(std::string const& text, Options options = {}) {
    fFolder.makeFile("host.toml", text);
    options.configFile = fFolder.path("host.toml");
    return readSetup(options);
  }

  TemporaryFolder fFolder;
};

TEST_F(Setup, ReadsTheHostsTableAndLeavesTheRest) {
  const auto setup = std::get<DaemonSetup>(read(R"([host]
plugins = ["a.so", "/b.so"]
log_level = "error"
log_file = "log"
config_dir = "conf/../d"
kill_grace_ms = 600000
program_output = "/out"
restart_command = "/sbin/reboot 'now then'"
[watchdog]
x = 1
)"));
  HostSettings const& settings = setup.settings;
  EXPECT_THAT(settings.plugins, ElementsAre(fFolder.path("a.so"), "/b.so"));
  EXPECT_EQ(settings.log.level, spdlog::level::err);
  EXPECT_EQ(settings.log.file, fFolder.path("log"));
  EXPECT_EQ(settings.configDir, fFolder.path("d"));
  EXPECT_EQ(settings.killGrace, std::chrono::minutes(10));
  EXPECT_EQ(settings.programOutput, "/out");
  EXPECT_EQ(settings.restartCommand, "/sbin/reboot 'now then'");
  EXPECT_THAT(setup.mainFile->entries, ElementsAre(testing::Key("watchdog.x")));
}

TEST_F(Setup, TheCommandLineAddsPluginsAndOverridesTheLevel) {
  const char* words[] = {"veskd", "--plugin", "/1.so", "--log-level=debug", "--plugin", "/2.so"};
  const auto options = std::get<Options>(parseOptions(6, words));
  const auto setup = std::get<DaemonSetup>(
      read("[host]\nplugins = ['/0.so']\nlog_level = 'error'\nlog_file = ''\n", options));
  EXPECT_THAT(setup.settings.plugins, ElementsAre("/0.so", "/1.so", "/2.so"));
  EXPECT_EQ(setup.settings.log.level, spdlog::level::debug);
  EXPECT_THAT(setup.settings.log.file, IsEmpty());
  EXPECT_EQ(std::get<DaemonSetup>(read("", options)).settings.killGrace, std::chrono::seconds(3));
}

TEST_F(Setup, EveryMistakeIsNamedInOneRunInTheOrderOfTheFile) {
  const auto failure = std::get<Failure>(read(R"([host]
restart_command = "a 'b"
plugins = ["a.so", 3]
plugin = "a.so"
log_level = "loud"
log_file = true
kill_grace_ms = 600001
config_dir = "a\u0000b"
[host.inner]
x = 1
)"));
  EXPECT_EQ(failure.code, ExitCode::badConfiguration);
  const auto at = [this](std::string const& rest) {
    return fFolder.path("host.toml") + ":" + rest + " is expected";
  };
  EXPECT_THAT(
      failure.lines,
      ElementsAre(
          at("2:19: `host.restart_command' is \"a 'b\", but a command line with every quote "
             "closed"),
          at("3:20: `host.plugins' contains the integer 3, but an array of strings that name "
             "files"),
          fFolder.path("host.toml") + ":4:1: unknown key `host.plugin'",
          at("5:13: `host.log_level' is \"loud\", but \"debug\", \"info\", \"warning\", \"error\" "
             "or \"off\""),
          at("6:12: `host.log_file' is the boolean true, but a string that names a file"),
          at("7:17: `host.kill_grace_ms' is the integer 600001, but an integer from 0 to 600000"),
          at("8:14: `host.config_dir' is a string, but a string that names a folder"),
          fFolder.path("host.toml") + ":10:1: unknown key `host.inner.x'"));
}

TEST_F(Setup, HelpNamesEveryExitCode) {
  const char* words[] = {"veskd", "--help"};
  const auto help = std::get<Answer>(parseOptions(2, words)).text;
  for (auto const& [code, meaning] : kExitCodes) {
    EXPECT_THAT(help, testing::ContainsRegex(std::to_string(static_cast<int>(code)) + " +"));
    EXPECT_THAT(help, HasSubstr(meaning));
  }
}

}  // namespace
