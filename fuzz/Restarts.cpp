// The record of past restarts: what can be believed is written as it was read.

#include <spdlog/sinks/null_sink.h>

#include "fuzz/Fuzz.h"
#include "host/services/RestartJournal.h"
#include "tests/host/process/TemporaryFolder.h"

void fuzzRestarts(std::string_view input) {
  static const TemporaryFolder folder;
  static const auto log =
      std::make_shared<spdlog::logger>("", std::make_shared<spdlog::sinks::null_sink_mt>());
  RestartJournal journal(folder.path(), log);
  folder.makeFile("restarts", std::string(input));
  const auto content = journal.load();
  REQUIRE(content.isWhole == std::filesystem::exists(journal.path()));
  if (!content.isWhole) return;
  std::size_t size = input.find('\n') + 1;
  for (auto const& [at, cause] : content.past) {
    REQUIRE(at.uptime.count() >= 0 && at.time.time_since_epoch().count() >= 0);
    REQUIRE(!at.bootId.empty() && at.bootId.find(' ') == std::string::npos);
    size += std::to_string(at.uptime.count()).size() + at.bootId.size() + cause.size();
  }
  REQUIRE(size <= input.size());
}
