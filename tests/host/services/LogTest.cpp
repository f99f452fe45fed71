#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "host/HoldRef.h"
#include "host/process/UniqueFd.h"
#include "host/services/LogLevels.h"
#include "host/services/Logger.h"
#include "host/services/RepeatSink.h"
#include "tests/host/services/CollectedLog.h"

namespace {

TEST(Log, LineHoldsTimeWithZoneThenLevelNameAndMessage) {
  ::setenv("TZ", "TST+03:30", 1);  // west of Greenwich
  ::tzset();
  CollectedLog log;
  log.output()->logger("na\nme")->error("{}", "a\nb");
  ::unsetenv("TZ");
  ::tzset();
  EXPECT_THAT(log.text(),
              testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"
                                    "\\.[0-9]{3}-03:30 error na\\\\nme: a\\\\nb\n"));
}

TEST(Log, LineForTheJournalHoldsThePriorityInPlaceOfTheTime) {
  const auto stream = std::make_shared<std::ostringstream>();
  const LogOutput output(std::make_shared<spdlog::sinks::ostream_sink_mt>(*stream),
                         spdlog::level::debug, LogLayout::journal);
  const auto log = output.logger("x");
  log->error("e\n");
  log->warn("w");
  log->info("i");
  log->debug("d");
  EXPECT_EQ(stream->str(), "<3>error x: e\\n\n<4>warning x: w\n<6>info x: i\n<7>debug x: d\n");
}

TEST(Log, KeepsWhatItCannotFormat) {
  CollectedLog log;
  const auto logger = holdRef(new Logger(log.output()));
  EXPECT_LT(logger->error(0, L"no text: %s", "\xff"), 0);
  EXPECT_EQ(logger->error(0, nullptr), -EINVAL);
  EXPECT_THAT(log.lines(), testing::ElementsAre("error vesk: no text: %s"));
}

TEST(Log, ALoggerNeverLetsMoreThroughThanTheHost) {
  struct Case {
    const char* host;
    LogLevelEnum own, inForce;
    std::string passed;
  };
  const Case cases[] = {
      {"debug", logDebug, logDebug, "diew"}, {"info", logDebug, logInfo, "iew"},
      {"info", logError, logError, "ew"},    {"warning", logInfo, logError, "ew"},
      {"error", logOff, logOff, ""},         {"off", logDebug, logOff, ""},
  };
  for (Case const& each : cases) {
    CollectedLog log(*logLevelOf(each.host));
    const auto logger = holdRef(new Logger(log.output()));
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

/// What the descriptor has to read by now.
std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 65536> buffer{};
  pollfd polled{descriptor, POLLIN, 0};
  while (::poll(&polled, 1, 0) > 0) {
    const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
    if (size <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  return text;
}

TEST(Log, AReaderThatIsStuckHoldsNobodyUpAndLearnsHowMuchItMissed) {
  constexpr long kLines = 20'000;
  int ends[2];
  for (const bool isSocket : {false, true}) {
    ASSERT_EQ(isSocket ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : ::pipe(ends), 0);
    const UniqueFd reader(ends[0]), writer(ends[1]), former(::dup(STDERR_FILENO));
    ::dup2(writer.get(), STDERR_FILENO);
    std::string cause;
    const auto log = LogOutput::open({}, cause)->logger("x");
    for (long i = 0; i < kLines; ++i) log->info(std::string(100, 'x'));
    std::string text = readAll(reader.get());
    log->info("again");
    text += readAll(reader.get());
    ::dup2(former.get(), STDERR_FILENO);
    const std::size_t at = text.find("warning vesk.log: ");
    ASSERT_NE(at, std::string::npos) << isSocket;
    EXPECT_THAT(text.substr(at),
                testing::MatchesRegex("warning vesk.log: [0-9]+ lines lost: nobody reads them\n"
                                      "[^\n]* info x: again\n"));
    const long whole = std::count(text.begin(), text.end(), '\n') - 2;
    const long torn = text.substr(0, at).ends_with("xxx") ? 1 : 0;
    EXPECT_EQ(whole - torn + std::atol(text.c_str() + at + 18), kLines) << isSocket;
    EXPECT_EQ(::fcntl(writer.get(), F_GETFL) & O_NONBLOCK, 0) << "it is shared";
  }
}

TEST(Log, AnErrorThatComesAtEveryPassIsWrittenOnceThenNowAndThen) {
  using namespace std::chrono_literals;
  CollectedLog log;
  RepeatSink::Time now{1h};
  const auto sink = std::make_shared<RepeatSink>(log.sink(), [&now] { return now; });
  spdlog::logger logger("x", sink);
  for (int pass = 0; pass <= 600; ++pass, now += 1s) logger.error("a"), logger.info("i");
  logger.error("b");
  now += 6s;  // a recovery, and a new loss
  logger.error("a");
  auto lines = log.lines();
  std::erase(lines, "info x: i");
  EXPECT_THAT(lines, testing::ElementsAre("error x: a", "error x: a (600 times more in 10 minutes)",
                                          "error x: b", "error x: a"));
}

}  // namespace
