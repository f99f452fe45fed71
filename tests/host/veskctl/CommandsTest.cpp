#include <fcntl.h>
#include <gmock/gmock.h>

#include <deque>
#include <iterator>
#include <sstream>

#include "host/veskctl/Answer.h"
#include "host/veskctl/Commands.h"
#include "host/veskctl/Completion.h"
#include "host/veskctl/EntryOptions.h"
#include "host/veskctl/Follow.h"
#include "host/veskctl/Health.h"
#include "tests/host/process/TemporaryFolder.h"

namespace ctl {
namespace {

using ::testing::ElementsAre;

const Json kStatus = Json::parse(R"({
  "version": "0.1.0", "pid": 812, "uptime_ms": 7380000, "counters": {"wd_count": 3, "other": 0},
  "watchdog": {"cpu_enabled": true, "mem_enabled": false, "sample_time": 2, "passes": 43200,
    "last_pass_at": "2026-11-21T14:42:49.123Z", "last_pass_ms": 1.2, "longest_pass_ms": 1234},
  "entries": [{"name": "nginx", "instances": 4, "counted": 1, "cpu_percent": 12, "memory_kib": 40960,
     "action": "restart", "dry_run": false, "find_result": 0, "health": "ok"},
    {"name": "日本語-server", "instances": 1, "counted": 1, "cpu_percent": 112, "dry_run": true,
     "memory_kib": 1572864, "action": "terminate", "find_result": 0, "health": "high"},
    {"name": "evil\u001b[2J\u009b", "instances": 0, "counted": 0, "cpu_percent": null,
     "action": "none", "find_result": -504, "health": "missing", "new": []}]})");

TEST(RenderStatus, AlignsWhatIsSeenAndGivesUpWhatHasNoRoom) {
  View view;
  view.isUtf8 = true;
  view.now = *parseTime("2026-11-21T14:42:52.123Z");
  EXPECT_EQ(renderStatus(kStatus, SortKey::health, view),
            R"(veskd 0.1.0, pid 812, up 2 h 3 min
pass 43200, 3.0 s ago, took 1.2 ms (longest 1.2 s), every 2 s
switched off: mem_enabled
wd_count 3

NAME               HEALTH   INST   CPU       MEM  ACTION     NOTE
evil\x1b[2J\u009b  missing     0     -         -  none
日本語-server      high        1  112%   1.5 GiB  terminate  dry run
nginx              ok        1/4   12%  40.0 MiB  restart
--------------------------------------------------------------------
3 programs                     2  124%   1.5 GiB
1 missing, 1 high, 1 ok
)");
  view.hasColours = true;
  view.width = 34;
  view.height = 12;  // of two programs
  EXPECT_EQ(renderStatus(kStatus, SortKey::name, view),
            "\x1b[1mveskd 0.1.0, pid 812, up 2 h 3 min\x1b[0m\n"
            "pass 43200, 3.0 s ago, took 1.2 m…\n"
            "\x1b[33mswitched off: mem_enabled\x1b[0m\nwd_count 3\n\n\x1b[2mNAME\x1b[0m        "
            "\x1b[2mHEALTH\x1b[0m  \x1b[2mINST\x1b[0m       \x1b[2mMEM\x1b[0m\n"
            "nginx       \x1b[32mok\x1b[0m       1/4  40.0 MiB\n"
            "日本語-se…  \x1b[33mhigh\x1b[0m       1   1.5 GiB\n"
            "\x1b[2m----------------------------------\x1b[0m\n"
            "3 programs             2   1.5 GiB\n1 not shown: "
            "\x1b[1;31m1 missing\x1b[0m, \x1b[33m1 high\x1b[0m, \x1b[32m1 ok\x1b[0m\n");
}

auto parse(std::string const& line) {
  std::istringstream stream("veskctl " + line);
  const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
  std::vector<const char*> argv;
  for (std::string const& word : words) argv.push_back(word.c_str());
  return parseOptions(static_cast<int>(argv.size()), argv.data(), "/run/s");
}

TEST(Options, TakeEveryFormOfAnIntervalAndSayWhatIsWrongWithAValue) {
  const auto seconds = [](std::string const& form) {
    return std::get<Options>(parse("status " + form)).watchSeconds;
  };
  for (const char* form : {"-w", "--watch", "--watch --sort cpu"}) EXPECT_EQ(seconds(form), 2);
  for (const char* form : {"-w0.5", "-w 0.5", "--watch=0.5", "--watch 0.5"}) {
    EXPECT_EQ(seconds(form), 0.5) << form;
  }
  const auto trouble = [](const char* line) { return std::get<Failure>(parse(line)).text; };
  const std::string end = " is expected; see veskctl --help";
  EXPECT_EQ(trouble("status --watch=nan"), "`--watch' is nan, but 0.1 to 86400" + end);
  EXPECT_EQ(trouble("add x --cpu-limit 101"), "`--cpu-limit' is 101, but 0 to 100" + end);
  EXPECT_EQ(trouble("add x --period 1.5"), "`--period' is `1.5', but a whole number" + end);
}

TEST(Add, TakesLimitsAsTheWishToHaveThemChecked) {
  const TemporaryFolder folder;
  folder.makeFile("entry.json", R"({"name": "other", "period": 7, "cpu_limit": 1})");
  const auto options = parse(
      "add nginx --cpu-limit=80 --mem-limit 10 --no-mem-enabled --no-send-event "
      "--arguments -g --from-json " +
      folder.path("entry.json"));
  ASSERT_TRUE(std::holds_alternative<Options>(options));
  EXPECT_EQ(std::get<Json>(entryBody(std::get<Options>(options))), Json::parse(R"({
    "name": "nginx", "period": 7, "cpu_limit": 80, "cpu_enabled": true, "mem_limit": 10,
    "mem_enabled": false, "send_event": false, "arguments": "-g"})"));
}

TEST(Path, HoldsAnyName) { EXPECT_EQ(entryPath("../ü"), "/v1/entries/..%2F%C3%BC"); }

TEST(Complete, KnowsCommandsOptionsValuesAndNames) {
  const auto names = [](std::string const& socket) {
    return std::vector<std::string>{"nginx" + socket, "redis"};
  };
  EXPECT_THAT(complete({"re"}, names), ElementsAre("remove", "reload"));
  EXPECT_THAT(complete({"-s", "/s", "show", "n"}, names), ElementsAre("nginx/s"));
  EXPECT_THAT(complete({"add", "x", "--mem"}, names), ElementsAre("--mem-limit", "--mem-enabled"));
  EXPECT_THAT(complete({"status", "--sort=n"}, names), ElementsAre("--sort=name"));
  EXPECT_THAT(complete({"status", "--sort", "=", "n"}, names), ElementsAre("name"));
}

/// A host that gives these bodies in this order, and cannot be reached for an empty one.
struct ScriptedApi : IApi {
  Result<Response> send(Request const& request) override {
    asked.push_back(request.path);
    const std::string body = bodies.front();
    bodies.pop_front();
    if (body.empty()) return Failure{ExitCode::unreachable, "gone"};
    return Response{200, body};
  }
  std::optional<Result<Response>> stream(Request const& request, LineTaker const& take) override {
    auto answer = send(request);
    if (std::holds_alternative<Failure>(answer)) return answer;
    std::istringstream lines(std::get<Response>(answer).body);
    for (std::string line; std::getline(lines, line);) {
      if (!take(line)) return std::nullopt;
    }
    return answer;
  }
  std::deque<std::string> bodies;
  std::vector<std::string> asked;
};

TEST(Check, WaitsForTheFirstLookWhilePassesAreMade) {
  Json status = kStatus;
  status["entries"] = {{{"name", "new"}, {"health", "unknown"}, {"find_result", 0}},
                       {{"name", "odd"}, {"health", "unknown"}, {"find_result", -1}}};
  const WallTime pass = *parseTime("2026-11-21T14:42:49.123Z");
  EXPECT_EQ(listOfNotOk(judgedOf(status, pass + std::chrono::seconds(3))), "odd (unknown)");
  EXPECT_EQ(judgedOf(status, pass + std::chrono::seconds(4)).size(), 2U);
}

TEST(Follow, GoesOnWhereItWasOrWithTheNextRunOfTheHost) {
  const auto event = [](std::string const& number) {
    return "{\"number\":" + number + R"(,"kind":"kill","entry":"a","pid":9,"result":-1,)" +
           R"("would_have":true,"text":"t\n"})" + "\n";
  };
  const std::string run1 = R"({"pid":1})", run2 = R"({"pid":2})";
  ScriptedApi api;
  api.bodies = {
      run1, R"({"next":5})", event("5") + "{\"missed\":12}\n", "", run1, "", run2, event("1"),
      run2, "garbage"};
  Options options;
  const Terminal terminal(-1, ColourUse::automatic);
  const TemporaryFolder folder;
  folder.makeFile("out", "");
  const UniqueFd file(::open(folder.path("out").c_str(), O_WRONLY | O_CLOEXEC));
  const Output output(file.get());
  std::vector<std::string> told;
  const auto wait = [](auto) { return Interrupts::Wake::timeIsOver; };
  const auto tell = [&](std::string const& text) { told.push_back(text.substr(0, 23)); };
  const Context context{options, api, terminal, output, wait, tell};
  EXPECT_EQ(std::get<Failure>(follow(context)).code, ExitCode::notUnderstood);
  const std::string line = "-  kill           a[9]: t\\n (result -1) (dry run)\n";
  EXPECT_EQ(contentOf(folder.path("out")), line + "(12 events missed: no longer kept)\n" + line);
  const std::string stream = "/v1/events?follow=true&from=";
  EXPECT_THAT(api.asked, ElementsAre("/v1/status", "/v1/events?limit=10", stream + "5",
                                     "/v1/status", "/v1/status", stream + "18", "/v1/status",
                                     stream + "1", "/v1/status", stream + "2"));
  EXPECT_THAT(
      told, ElementsAre("the host ended the stre", "the host is back", "gone; waiting for it to",
                        "the host was started an", "the host ended the stre", "the host is back"));
}

}  // namespace
}  // namespace ctl
