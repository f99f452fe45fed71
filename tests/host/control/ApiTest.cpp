// The control API as its clients see it.

#include "host/control/EventStream.h"
#include "tests/host/control/ControlFixture.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Return;
using testing::StartsWith;
using namespace std::chrono_literals;
using namespace std::string_literals;

class ControlApiTest : public ControlFixture {};

EntryView madeEntry() {
  EntryView entry;
  entry.settings.name = "caf\xe9/x";
  entry.settings.cpuEnabled = true;
  entry.settings.action = "osrestart";
  entry.settings.cpuLimit = 50;
  entry.isKnown = true;
  entry.lookedAt = WallTime(std::chrono::milliseconds(61'007));
  entry.instances = {{99, 1, true, true, 3, 2048, {2, std::chrono::milliseconds(2004), 3, 2048}},
                     {98, 1, false, std::nullopt, std::nullopt, std::nullopt, {}}};
  return entry;
}

TEST_F(ControlApiTest, ShowsWhatItIsGiven) {
  view.entries = {madeEntry()};
  proc.add(99, {"caf\xe9/x", 'T'});
  proc.add(98, {"other"});
  journal->append({0, WallTime{}, RecordKind::kill, "x", 5, std::nullopt, -3, true, "why"});
  int scrapes = 0;
  sources.metrics = [&scrapes] { return std::to_string(++scrapes); };
  RestartState restarts;
  restarts.past.emplace_back().cause = "x: cpu";
  restarts.lastRefusal = {std::chrono::sys_seconds(9s), "too early"};
  sources.restarts = [&restarts] { return restarts; };
  ASSERT_TRUE(open()) << cause;
  const json status = json::parse(bodyOf(ask("GET", "/v1/status")));
  EXPECT_EQ(status["started_at"], "1970-01-01T00:00:01.500Z");
  EXPECT_EQ(status["plugins"], json{"a.so"});
  EXPECT_EQ(status["restarts"]["last_refusal"]["time"], "1970-01-01T00:00:09.000Z");
  EXPECT_EQ(status["restarts"]["past"][0]["cause"], "x: cpu");
  EXPECT_EQ(
      status["entries"][0].dump(),
      R"({"action":"osrestart","counted":null,"cpu_percent":3,"dry_run":false,"find_result":0,)"
      R"("health":"ok","instances":2,"memory_kib":2048,"name":"caf�/x"})");
  const json entry = json::parse(bodyOf(ask("GET", "/v1/entries/caf%E9%2fx")));
  EXPECT_EQ(entry["instances"].dump(),
            R"([{"counts":true,"cpu_percent":3,"is_running":true,"memory_kib":2048,)"
            R"("parent_pid":1,"pid":99,"state":"T","window":{"age_ms":2004,"cpu_average":3,)"
            R"("memory_average":null,"samples":2}},{"counts":false,"cpu_percent":null,)"
            R"("is_running":null,"memory_kib":null,"parent_pid":1,"pid":98,"state":null,)"
            R"("window":{"age_ms":0,"cpu_average":null,"memory_average":null,"samples":0}}])");
  EXPECT_EQ(entry["looked_at"], "1970-01-01T00:01:01.007Z");
  EXPECT_EQ(json::parse(bodyOf(ask("GET", "http://v:1/v1/entries")))["entries"], json{entry});
  const json why = json::parse(bodyOf(ask("GET", "/v1/entries/caf%E9%2Fx/explain")));
  EXPECT_EQ(why["checks"].size(), 5) << why;
  EXPECT_THAT(why["next_act"], HasSubstr("; the last such restart was refused: too early"));
  EXPECT_EQ(bodyOf(ask("GET", "/v1/events")),
            R"({"events":[{"entry":"x","kind":"kill","number":1,"pid":5,"result":-3,"text":"why",)"
            R"("time":"1970-01-01T00:00:00.000Z","value":null,"would_have":true}],)"
            R"("missed":0,"next":2})"
            "\n");
  EXPECT_THAT(ask("GET", "/metrics"), HasSubstr("Content-Type: text/plain; version=0.0.4\r\n"));
  now += 999ms;
  EXPECT_EQ(bodyOf(ask("GET", "/metrics")), "1");
  now += 1ms;
  EXPECT_EQ(bodyOf(ask("GET", "/metrics")), "2");
  const std::string head = ask("HEAD", "/v1/status");
  EXPECT_THAT(head, StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(bodyOf(head), "");
}

TEST_F(ControlApiTest, RefusesWithTheCodeOfTheCause) {
  EXPECT_CALL(*changes, add).WillRepeatedly([](json const& entry) -> ApiResult {
    if (entry.empty()) throw std::runtime_error("surprise");
    if (entry.contains("memory")) throw std::bad_alloc();
    return ApiError{ApiError::Code::conflict, "there"};
  });
  EXPECT_CALL(*changes, reload).WillRepeatedly(Return(ApiError{ApiError::Code::refused, "no"}));
  EXPECT_CALL(*changes, remove("a+b"))
      .WillRepeatedly(Return(ApiError{ApiError::Code::unavailable, "stopping"}));
  ASSERT_TRUE(open());
  const std::string nested = R"({"a":)" + std::string(30'000, '[') + std::string(30'000, ']') + "}";
  const struct {
    std::string method, target, body, status, code, text = "";
  } kCases[] = {
      {"GET", "/v1/events?limit=1x", "", "400", "bad_request"},
      {"GET", "/v1/events?limit=1&limit=2", "", "400", "bad_request", "`limit' is given twice"},
      {"GET", "/v1/events?follow=maybe", "", "400", "bad_request"},
      {"GET", "/v1/entries/%4", "", "400", "bad_request", "percent"},
      {"POST", "/v1/entries", "{", "400", "bad_request"},
      {"POST", "/v1/entries", "[]", "400", "bad_request", "not an object"},
      {"POST", "/v1/entries", nested, "400", "bad_request", "nested too deeply"},
      {"POST", "/v1/entries", R"({"a":1e999})", "400", "bad_request", "the body has a number"},
      {"POST", "/v1/entries", R"({"a":{"b":1,"b":2}})", "400", "bad_request", "`b' is given twice"},
      {"POST", "/v1/reload", R"({"a":1})", "400", "bad_request", "no body"},
      {"DELETE", "/v1/entries/a+b", "x", "400", "bad_request", "no body"},
      {"GET", "/v1/events?limt=1", "", "400", "unknown_field"},
      {"GET", "/v1/events?limit=1001", "", "400", "bad_value"},
      {"GET", "/v1/events?from=99999999999999999999", "", "400", "bad_value"},
      {"GET", "/v1/entries/nobody", "", "404", "not_found"},
      {"GET", "/v1/status/", "", "404", "not_found"},
      {"BREW", "/v1/reload", "", "405", "bad_method"},
      {"POST", "/v1/entries", R"({"name":"x"})", "409", "conflict"},
      {"POST", "/v1/entries", std::string(65'537, ' '), "413", "too_large"},
      {"POST", "/v1/reload", "", "422", "refused"},
      {"POST", "/v1/entries", "{}", "500", "internal"},
      {"POST", "/v1/entries", R"({"memory":1})", "503", "unavailable"},
      {"DELETE", "/v1/entries/a+b", "{}", "503", "unavailable"},
  };
  for (auto const& [method, target, body, status, code, text] : kCases) {
    const std::string answer = ask(method, target, body);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 " + status)) << method << " " << target;
    EXPECT_THAT(answer, HasSubstr("\"code\":\"" + code + "\"")) << method << " " << target;
    EXPECT_THAT(answer, HasSubstr(text)) << method << " " << target;
  }
  EXPECT_THAT(ask("PUT", "/v1/entries"), HasSubstr("\r\nAllow: GET, HEAD, POST\r\n"));
}

TEST_F(ControlApiTest, StreamsWhatComesAndTellsWhatIsLost) {
  for (int i = 0; i < 1030; ++i) journal->append({});
  ASSERT_TRUE(open());
  const RawClient late(settings.socket);
  late.send(requestText("GET", "/v1/events?follow=true&from=5"));
  EXPECT_THAT(late.receive(R"("number":7,)"), HasSubstr("\n{\"missed\":2}\n{\"entry\":null,"));
  const RawClient coming(settings.socket);
  coming.send(requestText("GET", "/v1/events?follow=true&from=9999"));
  coming.receive("\r\n\r\n");
  journal->append({});
  EXPECT_THAT(coming.receive("would_have"), HasSubstr(R"("number":1031)"));
  server.reset();
  EXPECT_THAT(coming.receive(), testing::EndsWith("0\r\n\r\n"));
  EventStream silent(journal, 9999, sources.now);
  std::string text;
  now += 14'999ms;
  EXPECT_FALSE(silent.next(text));
  now += 1ms;
  EXPECT_TRUE(silent.next(text));
  EXPECT_EQ(text, "\n");
}

TEST_F(ControlApiTest, SaysWhyANameDoesNotMatch) {
  const struct {
    unsigned int pid;
    std::string comm, command;
    char state;
    unsigned int threads;
  } kProcesses[] = {{30, "serve", std::string(300, 'c'), 'S', 1},
                    {31, "serve", "", 'Z', 1},
                    {32, "python3.11", "python3\0/usr/bin/serve"s, 'S', 1},
                    {33, "main", "/bin/serve", 'S', 1},
                    {34, "Serve", "", 'S', 1},
                    {35, "server", "", 'S', 1},
                    {36, "swerve", "", 'S', 1},
                    {37, "vim", "vim\0a\0b\0serve.conf"s, 'S', 1},
                    {38, "pool", "", 'S', 2},
                    {40, "unrelated", "", 'S', 1},
                    {static_cast<unsigned int>(::getpid()), "asker", "asker\0serve"s, 'S', 1}};
  for (auto const& [pid, comm, command, state, threads] : kProcesses) {
    proc.add(pid, {comm, state, 4, 0, threads, 100, 0, command});
  }
  proc.makeFile("38/task/39/comm", "serve\n");
  ASSERT_TRUE(open());
  const json found = json::parse(bodyOf(ask("GET", "/v1/match?name=serve")));
  EXPECT_EQ(found["matches"].dump(), R"([{"comm":"serve","command":")" + std::string(200, 'c') +
                                         R"(","parent_pid":4,"pid":30,"state":"S"}])");
  std::string misses;
  for (json const& miss : found["near_misses"]) {
    misses += std::to_string(miss["pid"].get<int>()) + " " + miss["why"].get<std::string>() + "\n";
  }
  EXPECT_EQ(misses,
            "31 it is dead, and its parent has not reaped it\n"
            "32 it is a script: the kernel's name of it is that of its interpreter, python3.11\n"
            "33 it was started under that name, but the kernel's name of it is main\n"
            "38 one of its threads is named so, but the process is pool\n"
            "34 capital letters count: it is Serve\n"
            "35 its name goes on: it is server\n"
            "36 one or two letters differ: it is swerve\n"
            "37 the name is only in the arguments: the kernel's name of it is vim\n");
}

}  // namespace
