#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>

#include "host/services/HoldRef.h"
#include "host/services/LogFormat.h"
#include "host/services/LogLevels.h"
#include "host/services/Logger.h"
#include "tests/host/process/TemporaryFolder.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

std::shared_ptr<Logger> makeLogger(CollectedLog const& log) {
  return holdRef(new Logger(log.output()));
}

TEST(Log, LineHoldsTimeWithZoneThenLevelNameAndMessage) {
  ::setenv("TZ", "XXX+03:30", 1);  // west of Greenwich
  ::tzset();
  CollectedLog log;
  log.logger()->error("message");
  ::unsetenv("TZ");
  ::tzset();
  EXPECT_THAT(log.text(), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"
                                       "\\.[0-9]{3}-03:30 error test: message\n"));
}

TEST(Log, NothingInANameOrMessageBreaksTheLineOrReachesTheTerminal) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"tab\tstays \xc3\xa9 \xe2\x82\xac", "tab\tstays \xc3\xa9 \xe2\x82\xac"},
      {"a\nb\rc", "a\\nb\\rc"},
      {std::string("\x1b[2J\x7f\0", 6), "\\x1b[2J\\x7f\\x00"},
      {"\xc2\x9b", "\\u009b"},
      {"bad \xff\xc3(", "bad \\xff\\xc3("},
      {"cut \xe2\x82", "cut \\xe2\\x82"},
  };
  for (auto const& [raw, shown] : cases) EXPECT_EQ(printable(raw), shown);

  CollectedLog log;
  log.output()->logger("na\nme")->info("{}", "a\nb");
  EXPECT_THAT(log.lines(), ElementsAre("info na\\nme: a\\nb"));
}

TEST(Log, FormatsWideTextOfAnyLengthAndKeepsWhatItCannotFormat) {
  CollectedLog log;
  const auto logger = makeLogger(log);
  const std::wstring longText(200'000, L'\u20ac');
  EXPECT_EQ(logger->info(0, L"[%s] `%ls' %u %d %lu %llu", "name", L"t\u00e4xt", 4294967295U, -1,
                         2UL, 18446744073709551615ULL),
            0);
  EXPECT_EQ(logger->init(L"own.name"), 0);
  EXPECT_EQ(logger->error(0, L"%ls", longText.c_str()), 0);
  EXPECT_LT(logger->error(0, L"no text: %s", "\xff"), 0);
  EXPECT_EQ(logger->error(0, nullptr), -EINVAL);
  std::string expected = "error own.name: ";
  for (std::size_t i = 0; i < longText.size(); ++i) expected += "\xe2\x82\xac";
  EXPECT_THAT(log.lines(),
              ElementsAre("info vesk: [name] `t\xc3\xa4xt' 4294967295 -1 2 18446744073709551615",
                          expected, "error own.name: no text: %s"));
}

TEST(Log, ALoggerNeverLetsMoreThroughThanTheHost) {
  struct Case {
    const char* host;
    LogLevelEnum own, inForce;
    const char* passed;
  };
  const Case cases[] = {
      {"debug", logDebug, logDebug, "diew"}, {"debug", logInfo, logInfo, "iew"},
      {"info", logDebug, logInfo, "iew"},    {"info", logError, logError, "ew"},
      {"warning", logInfo, logError, "ew"},  {"error", logDebug, logError, "e"},
      {"error", logOff, logOff, ""},         {"off", logDebug, logOff, ""},
  };
  for (Case const& each : cases) {
    CollectedLog log(*logLevelOf(each.host));
    const auto logger = makeLogger(log);
    EXPECT_EQ(logger->setLevel(each.own), 0);
    EXPECT_EQ(logger->init(L"named"), 0);  // does not bring the level back
    EXPECT_EQ(logger->getLevel(), each.inForce) << each.host << each.own;
    EXPECT_EQ(logger->debug(0, L"d") | logger->info(0, L"i") | logger->error(0, L"e"), 0);
    log.logger()->warn("w");  // one of the host's own
    std::string passed;
    for (std::string const& line : log.lines()) passed += line.back();
    EXPECT_EQ(passed, each.passed) << each.host << each.own;
  }
}

TEST(Log, FileIsAppendedToAndOneThatCannotBeOpenedNamesTheCause) {
  const TemporaryFolder folder;
  std::string cause;
  for (const char* text : {"first", "second"}) {
    const auto output = LogOutput::open({spdlog::level::info, folder.path("log")}, cause);
    ASSERT_NE(output, nullptr) << cause;
    output->logger("test")->info(text);
  }
  std::ifstream file(folder.path("log"));
  const std::string content{std::istreambuf_iterator<char>(file), {}};
  EXPECT_THAT(content, MatchesRegex(".* info test: first\n.* info test: second\n"));

  EXPECT_EQ(LogOutput::open({spdlog::level::info, folder.path("no/log")}, cause), nullptr);
  EXPECT_EQ(cause, "No such file or directory");
  EXPECT_EQ(LogOutput::open({spdlog::level::info, folder.path()}, cause), nullptr);
  EXPECT_EQ(cause, "Is a directory");
}

}  // namespace
