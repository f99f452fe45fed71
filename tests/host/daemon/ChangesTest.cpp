// What other threads have changed: the real plug-in in this process.

#include "host/daemon/Changes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "host/daemon/Reload.h"
#include "host/daemon/Services.h"
#include "host/daemon/Setup.h"
#include "host/entries/EntryRequest.h"
#include "host/entries/Watchdog.h"
#include "tests/host/daemon/VeskdFixture.h"

using Code = ApiError::Code;
using Json = nlohmann::json;
using testing::ElementsAre;
using testing::Pair;

namespace {

constexpr auto kReady = std::future_status::ready;

ApiError errorOf(ApiResult const& result) {
  auto const* error = std::get_if<ApiError>(&result);
  return error != nullptr ? *error : ApiError{Code::internal, std::get<Json>(result).dump()};
}

/// The parts of a host around a loop that runs on a thread of its own.
class ChangesTest : public VeskdFixture {
 protected:
  void SetUp() override {
    fFolder.makeFile("v.toml", kHost + "log_file = 'log'\n" + kGlobals);
    Options options;
    options.configFile = path("v.toml");
    fSetup = std::get<DaemonSetup>(readSetup(options));
    fOutput = std::get<0>(openOutputs(fSetup.settings));
    fThread = std::thread([this] { runHost(); });
    fIsRunning.get_future().wait();
  }
  void TearDown() override {
    fLoop.stop(0);
    fThread.join();
    VeskdFixture::TearDown();
  }

  void runHost() {
    const auto log = fOutput->logger("veskd");
    const WatchPlan plan = planOf(fSetup.settings, fSetup.mainFile, {});
    PluginLoader plugins(log);
    plugins.open(fSetup.settings.plugins);
    const Services services(fSetup.settings, plan.sources, fOutput);
    ServiceNotifier notifier({}, log);
    fBoard = services.board();
    fJournal = services.journal();
    Roster roster(fBoard, fJournal, log);
    Reload reload(fSetup, plan,
                  {plugins, services.configuration(), roster, services.utilities(), fLoop,
                   *fJournal, notifier, *log, *log});
    roster.announce(plan.facts);
    std::string cause;
    EXPECT_TRUE(plugins.start(cause)) << cause;
    roster.refresh();
    Changes changes(fLoop, roster, [&reload] { return reload.run(); });
    fChanges = &changes;
    fIsRunning.set_value();
    fLoop.serve([] {}, {std::chrono::hours(1), [] {}});
    plugins.stop();
  }

  EntrySettings settings() const {
    const auto entries = fBoard->view().entries;
    return entries.size() == 1 ? entries.front().settings : EntrySettings{};
  }

  void awaitStart() const {
    while (contentOf(path("log")).find("Successfully restarted") == std::string::npos) {
      std::this_thread::yield();
    }
  }

  DaemonSetup fSetup;
  std::shared_ptr<LogOutput> fOutput;
  std::shared_ptr<WatchBoard> fBoard;
  std::shared_ptr<RecordJournal> fJournal;
  MainLoop fLoop;
  IChanges* fChanges = nullptr;
  std::promise<void> fIsRunning;
  std::thread fThread;
};

TEST_F(ChangesTest, AnAddedEntryStaysOverAReloadUntilTheFileHasItOrItIsRemoved) {
  const std::string table = entryOf("/bin/sleep", "1000");
  const Json entry{{"name", fName},           {"executable", path(fName)}, {"arguments", "1000"},
                   {"respawn_enabled", true}, {"respawn_limit", 1},        {"period", 7}};
  EXPECT_EQ(std::get<Json>(fChanges->add(entry)), Json({{"name", fName}}));
  EXPECT_EQ(settings().origin, EntryOrigin::control);
  EXPECT_EQ(settings().period, 7);
  EXPECT_EQ(settings().executable, path(fName));
  EXPECT_EQ(errorOf(fChanges->add(entry)).code, Code::conflict);
  awaitStart();

  const std::string host = kHost + "log_file = 'log'\n";
  fFolder.makeFile("v.toml", host + "state_dir = '.'\n" + kGlobals + "z = 1\n");
  const auto reloaded = std::get<Json>(fChanges->reload());
  EXPECT_EQ(reloaded["needs_restart"], Json({"host.state_dir"}));
  EXPECT_EQ(reloaded["findings"].size(), 1U) << reloaded;
  EXPECT_EQ(settings().origin, EntryOrigin::control);

  fFolder.makeFile("v.toml", host + "dry_run = true\n" + kGlobals + table);
  EXPECT_EQ(std::get<Json>(fChanges->reload())["needs_restart"], Json::array());
  EXPECT_EQ(settings().origin, EntryOrigin::file);
  EXPECT_EQ(settings().period, 5);
  EXPECT_TRUE(fBoard->view().dryRun);

  fFolder.makeFile("v.toml", host + "x = 1\n" + kGlobals + table + "cpu_limt = 1\n");
  const ApiError refused = errorOf(fChanges->reload());
  EXPECT_EQ(refused.code, Code::refused);
  EXPECT_EQ(
      refused.text,
      path("v.toml:4:1: error: unknown key `host.x': the host does not start\n") +
          path("v.toml:16:1: warning: unknown key `watchdog.process.1.cpu_limt', did you mean "
               "`cpu_limit'? it is not read"));
  EXPECT_TRUE(fBoard->view().dryRun);

  EXPECT_EQ(std::get<Json>(fChanges->remove(fName)), Json({{"name", fName}}));
  EXPECT_EQ(errorOf(fChanges->remove(fName)).code, Code::notFound);
  EXPECT_TRUE(fBoard->view().entries.empty());
  fFolder.makeFile("v.toml", host + kGlobals + table + "dry_run = true\n");
  EXPECT_TRUE(std::holds_alternative<Json>(fChanges->reload()));
  EXPECT_EQ(settings().origin, EntryOrigin::file);
  EXPECT_TRUE(settings().dryRun);
  EXPECT_FALSE(fBoard->view().dryRun);
  std::vector<std::string> kinds;
  for (WatchRecord const& record : fJournal->read(1, 99).records) {
    if (record.kind >= RecordKind::entryAdded) kinds.emplace_back(nameOf(record.kind));
  }
  EXPECT_THAT(kinds,
              ElementsAre("entry_added", "reload", "reload", "reload", "entry_removed", "reload"));
  const std::string log = contentOf(path("log"));
  EXPECT_EQ(log.find("Successfully restarted"), log.rfind("Successfully restarted"));
}

TEST_F(ChangesTest, TwoWatchdogsNeverRunAtOnce) {
  auto held = obtainWatchdog();
  const ApiError error = errorOf(fChanges->reload());
  EXPECT_EQ(error.text, WATCHDOG " is still held by others, so that it may still run");
  EXPECT_EQ(error.code, Code::internal);
  held.reset();
  EXPECT_EQ(errorOf(fChanges->remove("n")).text, "no watchdog plug-in is loaded");
}

TEST(EntryRequest, IsRefusedWithTheReason) {
  struct Case {
    const char* body;
    Code code;
    const char* text;
  };
  const Case cases[] = {
      {"[]", Code::badRequest, "an object is expected, with the settings of one program"},
      {R"({"name": "n", "cpu_limt": 1, "x": 1})", Code::unknownField,
       "unknown field `cpu_limt', did you mean `cpu_limit'?\nunknown field `x'"},
      {R"({"period": "5", "send_event": null})", Code::badRequest,
       "`period' is a string, but an integer from 1 to 2147483647 is expected\n"
       "`send_event' is null, but a boolean is expected\n`name' is missing"},
      {R"({"name": "n", "cpu_limit": 101, "period": 4294967297})", Code::badValue,
       "`period' is the integer 4294967297, but an integer from 1 to 2147483647 is expected\n"
       "`cpu_limit' is the integer 101, but an integer from 0 to 100 is expected"},
      {R"({"name": "a\u0000b"})", Code::badValue, "`name' has a null in it"},
      {R"({"name": "n", "action": "restrat"})", Code::badValue,
       "`action' is \"restrat\", which is no action, did you mean `restart'?"},
      {R"({"name": ""})", Code::badValue, "the name is empty: no process is ever found"},
      {R"({"name": "n", "respawn_enabled": true, "mem_enabled": true, "period": 2})",
       Code::badValue,
       "`mem_enabled' without `mem_limit': 0 holds, which every window reaches\n"
       "`respawn_enabled' without `respawn_limit': the program is started at every sample\n"
       "the period of 2 s is shorter than the sample time of 3 s: each mean is over two samples "
       "only\n"
       "`respawn_enabled' without `executable': nothing can be started, which is tried at every "
       "sample"},
      {R"({"name": "n", "arguments": "'x", "executable": "/none/n"})", Code::badValue,
       "`arguments' ends within a quote or after a backslash: the program cannot be started\n"
       "`executable' is \"/none/n\": No such file or directory: the program cannot be started"},
      {R"({"name": "n", "action": "restart", "executable": "/bin/sh"})", Code::badValue,
       "`executable' is found as \"sh\", not as \"n\", unless it gives itself that name: what a "
       "restart starts is not watched"},
  };
  const GlobalSettings globals{true, true, true, 3};
  for (Case const& each : cases) {
    const auto read = readEntryRequest(Json::parse(each.body), globals);
    auto const* error = std::get_if<ApiError>(&read);
    ASSERT_NE(error, nullptr) << each.body;
    EXPECT_EQ(error->text, each.text);
    EXPECT_EQ(error->code, each.code) << each.body;
  }
  for (auto const& [key, longest] : {std::pair("name", 255U), std::pair("arguments", 4096U)}) {
    for (const unsigned int more : {0U, 1U}) {
      Json body{{"name", "n"}};
      body[key] = std::string(longest + more, 'x');
      const auto read = readEntryRequest(body, globals);
      EXPECT_EQ(std::holds_alternative<ApiError>(read), more == 1) << key;
    }
  }
}

TEST(MainLoop, NobodyWaitsForOneThatEndsAndNotTooManyForOneThatIsHeld) {
  MainLoop loop;
  std::promise<void> isHeld;
  std::promise<void> goOn;
  const auto ask = [&loop](MainLoop::Job const& job) {
    return std::async(std::launch::async, [&loop, job] { return errorOf(loop.run(job)).text; });
  };
  auto main = std::async(std::launch::async, [&loop] {
    return loop.serve([] {}, {std::chrono::hours(1), [] {}});
  });
  auto held = ask([&]() -> ApiResult {
    isHeld.set_value();
    goOn.get_future().wait();
    throw std::runtime_error("a cause");
  });
  isHeld.get_future().wait();
  const MainLoop::Job job = [] { return Json("is done"); };
  std::vector<std::future<std::string>> waiting;
  for (std::size_t i = 0; i <= MainLoop::kMostWaiting; ++i) waiting.push_back(ask(job));
  const auto isOver = [](auto& one) { return one.wait_for(std::chrono::seconds(0)) == kReady; };
  while (std::ranges::none_of(waiting, isOver)) std::this_thread::yield();
  loop.stop(SIGTERM);
  goOn.set_value();
  EXPECT_EQ(main.get(), SIGTERM);
  EXPECT_EQ(held.get(), "a cause");
  std::map<std::string, std::size_t> answers;
  for (auto& one : waiting) ++answers[one.get()];
  EXPECT_THAT(answers, ElementsAre(Pair("the host is stopping", MainLoop::kMostWaiting),
                                   Pair("too many changes wait already", 1)));
  EXPECT_EQ(errorOf(loop.run(job)).code, Code::unavailable);
}

}  // namespace
