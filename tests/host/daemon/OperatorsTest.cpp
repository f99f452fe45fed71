// What operators see and change: the real daemon with the real plug-in, by veskctl.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/host/daemon/VeskdFixture.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class Operators : public VeskdFixture {
 protected:
  std::string host(std::string const& more = "") const {
    return kHost + "control_socket = 's'\n" + more + kGlobals;
  }

  std::vector<std::string> words(std::vector<std::string> const& command) const {
    std::vector<std::string> words = {VESKCTL, "--socket", path("s")};
    words.insert(words.end(), command.begin(), command.end());
    return words;
  }

  /// What veskctl prints, and its exit status at the end.
  std::string ask(std::string const& command) const {
    const std::string line =
        std::string(VESKCTL) + " --socket " + path("s") + " " + command + " 2>&1; echo $?";
    std::string text;
    std::array<char, 4096> part{};
    FILE* pipe = ::popen(line.c_str(), "r");
    while (::fgets(part.data(), part.size(), pipe) != nullptr) text += part.data();
    ::pclose(pipe);
    return text;
  }

  json answer(std::string const& command) const {
    const std::string text = ask(command + " --json");
    return json::parse(text.substr(0, text.rfind("0\n")));
  }

  UniqueFd connected() const {
    UniqueFd client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{AF_UNIX, {}};
    path("s").copy(address.sun_path, sizeof address.sun_path - 1);
    ::connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    return client;
  }
};

TEST_F(Operators, AreAnsweredWhileAPassIsHeldAndChangeThingsAfterIt) {
  auto veskd = run(host("kill_grace_ms = 600000\n") + entryOf(TEST_PROGRAM, "stubborn") +
                   "inst_enabled = true\ninst_limit = 1\naction = 'restart'\n");
  ASSERT_NE(veskd->awaitLine("before restarting"), "") << veskd->text();
  while (answer("status")["watchdog"]["under_way_ms"] < 300) continue;
  ChildProcess change(words({"add", "other", "--inst-limit", "3"}));
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

TEST_F(Operators, SeeEachActWithItsReasonAsItHappens) {
  auto veskd = run(host());
  ASSERT_NE(veskd->awaitLine("running: "), "");
  ChildProcess follow({"sh", "-c", "exec \"$@\" >&2", "-", VESKCTL, "--socket", path("s"), "events",
                       "--follow", "--from", "1"});
  entryOf("/bin/sleep", "");
  const std::string add = "add " + fName + " --respawn-limit 1 --arguments 1000 --executable ";
  EXPECT_EQ(ask(add + path(fName)), fName + " is watched now\n0\n");
  EXPECT_THAT(ask(add + path(fName)), HasSubstr("`" + fName + "' is watched already"));
  EXPECT_THAT(ask(add + "/none"), AllOf(HasSubstr("/none"), HasSubstr("\n1\n")));
  EXPECT_THAT(follow.awaitLine("entry_added"), HasSubstr(fName));
  const std::string started = follow.awaitLine("start");
  EXPECT_THAT(started, HasSubstr(fName + "["));
  EXPECT_THAT(started, HasSubstr("0 instances count, 1 is wanted"));
  const int pid = std::stoi(started.substr(started.find('[') + 1));
  fFolder.makeFile("v.toml", host() + "x = 1\n[y");
  EXPECT_THAT(ask("reload"), HasSubstr("v.toml:10:"));
  EXPECT_THAT(follow.awaitLine("reload"), HasSubstr("not reloaded: "));
  EXPECT_EQ(ask("remove " + fName), fName + " is watched no more; its processes go on\n0\n");
  EXPECT_THAT(ask("remove " + fName), HasSubstr("no entry `" + fName + "'"));
  EXPECT_NE(follow.awaitLine("entry_removed"), "");
  EXPECT_EQ(::kill(pid, 0), 0);
}

TEST_F(Operators, CannotHoldTheWatchdogUp) {
  auto veskd =
      run(host() + entryOf("/bin/sleep", "1000") + "inst_enabled = true\ninst_limit = 1\n");
  std::vector<UniqueFd> clients;
  for (int i = 0; i < 100; ++i) {
    clients.push_back(connected());
    ::send(clients.back().get(), "GET /v1/ev", 10, MSG_NOSIGNAL);
  }
  for (int i = 0; i < 3; ++i) EXPECT_NE(veskd->awaitLine("Instance count too high"), "");
  clients.clear();
  EXPECT_THAT(ask("status"), HasSubstr(fName));
  veskd->signal(SIGTERM);
  EXPECT_EQ(veskd->awaitEnd(), 0);
  EXPECT_FALSE(std::filesystem::exists(path("s")));
}

TEST_F(Operators, AreMissedBeforeAnythingIsWatched) {
  fFolder.makeFile("s", "not a socket");
  auto veskd = run(host() + entryOf("/bin/sleep", "1000"));
  EXPECT_EQ(veskd->awaitEnd(), 73);
  EXPECT_THAT(veskd->text(), HasSubstr("there is something that is not a socket"));
  EXPECT_THAT(veskd->text(), Not(HasSubstr("restarted")));
}

}  // namespace
