// What operators see and change: the real daemon with the real plug-in, by veskctl.

#include <gmock/gmock.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/host/daemon/VeskdFixture.h"

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class Operators : public VeskdFixture {
 protected:
  static std::string host(std::string const& more = "") {
    return kHost + "control_socket = 's'\n" + more + kGlobals;
  }
  std::string ctl(std::string const& command) const {
    return VESKCTL " --socket " + path("s") + " " + command;
  }
  /// What veskctl prints, and its exit status at the end.
  std::string ask(std::string const& command) const {
    int status = 0;
    const std::string text = outputOf(ctl(command), &status);
    return text + std::to_string(status);
  }
  json answer(std::string const& command) const {
    return json::parse(outputOf(ctl(command + " --json")));
  }
  /// What veskctl prints of a reload with another file.
  std::string reloadWith(std::string const& text, std::string const& option = "") const {
    fFolder.makeFile("v.toml", text);
    return ask("reload" + option);
  }
  /// By whom its entry is configured, with which period, and what is in dry run.
  std::string entry() const {
    const json shown = answer("show " + fName);
    return shown["origin"].dump() + shown["settings"]["period"].dump() +
           (shown["settings"]["dry_run"] ? " dry" : "") +
           (answer("status")["dry_run"] ? " all dry" : "");
  }
};

TEST_F(Operators, AreAnsweredWhileAPassIsHeldAndChangeThingsAfterIt) {
  auto veskd = run(host("kill_grace_ms = 600000\n") + entryOf(TEST_PROGRAM, "stubborn") +
                   "inst_enabled = true\ninst_limit = 1\naction = 'restart'\n");
  ASSERT_NE(veskd->awaitLine("before restarting"), "") << veskd->text();
  while (answer("status")["watchdog"]["under_way_ms"] < 300) continue;
  ChildProcess change({"sh", "-c", ctl("add other --inst-limit 3")});
  const json held = answer("status");
  EXPECT_EQ(held["watchdog"]["is_under_way"], true);
  ASSERT_EQ(held["entries"].size(), 1U) << "what is added waits for the pass";
  const unsigned int pid = answer("show " + fName)["instances"][0]["pid"];
  EXPECT_THAT(ask("explain " + fName), HasSubstr("1 instance counts, 1 is too many"));
  EXPECT_THAT(ask("match " + fName), HasSubstr(std::to_string(pid)));
  EXPECT_EQ(::kill(static_cast<pid_t>(pid), SIGKILL), 0) << "it was there all the time";
  EXPECT_EQ(change.awaitEnd(), 0);
  EXPECT_EQ(answer("status")["entries"].size(), 2U);
}

TEST_F(Operators, AddWhatStaysOverReloadsUntilTheFileHasItOrTheyRemoveIt) {
  auto veskd = run(host());
  ASSERT_NE(veskd->awaitLine("running: "), "") << veskd->text();
  ChildProcess follow({"sh", "-c", "exec >&2 " + ctl("events --follow --from 1")});
  const std::string table = entryOf("/bin/sleep", "1000");
  const std::string add =
      "add " + fName + " --respawn-limit 1 --period 7 --arguments 1000 --executable ";
  EXPECT_EQ(ask(add + path(fName)), fName + " is watched now\n0");
  EXPECT_THAT(ask(add + path(fName)), HasSubstr("`" + fName + "' is watched already"));
  EXPECT_THAT(ask(add + "/none"), AllOf(HasSubstr("/none"), EndsWith("\n1")));
  EXPECT_THAT(follow.awaitLine("entry_added"), HasSubstr(fName));
  const std::string started = follow.awaitLine("start");
  EXPECT_THAT(started, HasSubstr("0 instances count, 1 is wanted"));
  const int pid = std::stoi(started.substr(started.find(fName + "[") + fName.size() + 1));

  const std::string done = reloadWith(host("state_dir = '.'\n") + "z = 1\n", " --json");
  EXPECT_THAT(done, AllOf(HasSubstr(R"("needs_restart":["host.state_dir"])"), HasSubstr(".z'")));
  EXPECT_EQ(entry(), "\"control\"7");
  EXPECT_THAT(reloadWith(host("dry_run = true\n") + table, " --json"),
              HasSubstr(R"("needs_restart":[])"));
  EXPECT_EQ(entry(), "\"file\"5 dry all dry");
  const std::string refused = reloadWith(host("x = 1\n") + table + "cpu_limt = 1\n");
  for (const char* line :
       {"v.toml:4:1: error: unknown key `host.x': the host does not start\n",
        "v.toml:16:1: warning: unknown key `watchdog.process.1.cpu_limt', did you mean"}) {
    EXPECT_THAT(refused, HasSubstr(line));
  }
  EXPECT_THAT(follow.awaitLine("not reloaded"), HasSubstr("host.x': the host does not start (and"));
  EXPECT_EQ(entry(), "\"file\"5 dry all dry");
  EXPECT_EQ(ask("remove " + fName), fName + " is watched no more; its processes go on\n0");
  EXPECT_THAT(ask("remove " + fName), HasSubstr("no entry `" + fName + "'"));
  EXPECT_NE(follow.awaitLine("entry_removed"), "");
  reloadWith(host() + table + "dry_run = true\n");
  EXPECT_EQ(entry(), "\"file\"5 dry");
  veskd->signal(SIGTERM);
  EXPECT_EQ(veskd->awaitEnd(), 0);
  EXPECT_EQ(::kill(pid, 0), 0);
  std::string const& log = veskd->text();
  EXPECT_THAT(log, HasSubstr("error veskd: not reloaded: "));
  EXPECT_EQ(log.find("Successfully restarted"), log.rfind("Successfully restarted"));
}

}  // namespace
