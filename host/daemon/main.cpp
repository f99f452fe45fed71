#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "host/daemon/CheckCommand.h"
#include "host/daemon/Setup.h"
#include "host/daemon/StandardStreams.h"
#include "host/services/LogFormat.h"

namespace {

/// @param begin of each line.
int fail(Failure const& failure, std::string const& begin) {
  for (std::string const& line : failure.lines) {
    std::fputs((begin + "veskd: " + printable(line) + '\n').c_str(), stderr);
  }
  return static_cast<int>(failure.code);
}

int answer(Answer const& answer, std::string const& begin) {
  std::fputs(answer.text.c_str(), stdout);
  if (std::fflush(stdout) == 0) return static_cast<int>(answer.code);
  return fail({ExitCode::noOutput, {"cannot write to standard output"}}, begin);
}

int check(Options const& options, std::string const& begin) {
  const auto result = checkFile(options);
  if (auto const* failure = std::get_if<Failure>(&result)) return fail(*failure, begin);
  return answer(std::get<Answer>(result), begin);
}

int run(Options const& options, ServiceManager manager, std::string const& begin) {
  auto setup = readSetup(options);
  if (auto const* failure = std::get_if<Failure>(&setup)) return fail(*failure, begin);
  auto& ready = std::get<DaemonSetup>(setup);
  ready.settings.log.isJournalOnStderr = manager.isJournalOnStderr;
  ready.serviceManager = std::move(manager);

  const auto outputs = openOutputs(ready.settings);
  if (auto const* failure = std::get_if<Failure>(&outputs)) return fail(*failure, begin);

  const HostSignals signals;
  const std::string logFile = ready.settings.log.file;
  const ExitCode code =
      runDaemon(std::move(ready), std::get<std::shared_ptr<LogOutput>>(outputs), signals);
  if (code == ExitCode::stopped || logFile.empty()) return static_cast<int>(code);
  return fail({code, {"ended by a failure, see " + logFile}}, begin);
}

}  // namespace

int main(int argc, char** argv) {
  openMissingStreams();
  std::string begin;
  try {
    ServiceManager manager = takeServiceManager();
    if (manager.isJournalOnStderr) begin = journalPriority(spdlog::level::err);
    auto options = parseOptions(argc, argv);
    if (auto const* text = std::get_if<Answer>(&options)) return answer(*text, begin);
    if (auto const* failure = std::get_if<Failure>(&options)) return fail(*failure, begin);
    auto const& given = std::get<Options>(options);
    return given.check ? check(given, begin) : run(given, std::move(manager), begin);
  } catch (std::exception const& error) {
    return fail({ExitCode::systemFailed, {error.what()}}, begin);
  }
}
