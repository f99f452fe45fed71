// Changes of what is watched, in this process.

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
#include "tests/host/services/CollectedLog.h"

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

using ChangesTest = VeskdFixture;

TEST_F(ChangesTest, TwoWatchdogsNeverRunAtOnceNorOneAfterAStop) {
  fFolder.makeFile("v.toml", kHost + kGlobals);
  Options options;
  options.configFile = path("v.toml");
  const auto setup = std::get<DaemonSetup>(readSetup(options));
  const CollectedLog log;
  const auto logger = log.logger();
  PluginLoader plugins(logger);
  plugins.open(setup.settings.plugins);
  const WatchPlan plan = planOf(setup.settings, setup.mainFile, {});
  const Services services(setup.settings, plan.sources, log.output());
  MainLoop loop;
  ServiceNotifier notifier({}, logger);
  Roster roster(services.board(), services.journal(), logger);
  Reload reload(setup, plan,
                {plugins, services.configuration(), roster, services.utilities(), loop,
                 *services.journal(), notifier, *logger, *logger});
  std::string cause;
  EXPECT_TRUE(plugins.start(cause)) << cause;
  loop.stop(SIGTERM);
  EXPECT_EQ(errorOf(reload.run()).text, "the host is stopping");
  EXPECT_EQ(obtainWatchdog(), nullptr) << "the former has ended, and no other was started";
  EXPECT_TRUE(plugins.start(cause)) << cause;
  auto held = obtainWatchdog();
  const ApiError error = errorOf(reload.run());
  EXPECT_EQ(error.text, WATCHDOG " is still held by others, so that it may still run");
  EXPECT_EQ(error.code, Code::internal);
  EXPECT_TRUE(reload.isLost());
  held.reset();
  EXPECT_EQ(errorOf(roster.remove("n")).text, "no watchdog plug-in is loaded");
}

TEST(EntryRequest, IsRefusedWithTheReason) {
  struct Case {
    const char* body;
    Code code;
    const char* text;
  };
  const Case cases[] = {
      {R"({"name": "n", "cpu_limt": 1, "x": 1})", Code::unknownField,
       "unknown field `cpu_limt', did you mean `cpu_limit'?\nunknown field `x'"},
      {R"({"period": "5", "send_event": null})", Code::badRequest,
       "`period' is a string, but an integer from 1 to 2147483647 is expected\n"
       "`send_event' is null, but a boolean is expected\n`name' is missing"},
      {R"({"name": "n", "respawn_enabled": true, "mem_enabled": true, "period": 2})",
       Code::badValue,
       "`mem_enabled' without `mem_limit': 0 holds, which every window reaches\n"
       "`respawn_enabled' without `respawn_limit': the program is started at every sample\n"
       "the period of 2 s is shorter than the sample time of 3 s: each mean is over two samples "
       "only\n"
       "`respawn_enabled' without `executable': nothing can be started, which is tried at every "
       "sample"},
  };
  const GlobalSettings globals{true, true, true, 3};
  for (Case const& each : cases) {
    const auto read = readEntryRequest(Json::parse(each.body), globals);
    auto const* error = std::get_if<ApiError>(&read);
    ASSERT_NE(error, nullptr) << each.body;
    EXPECT_EQ(error->text, each.text);
    EXPECT_EQ(error->code, each.code) << each.body;
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
