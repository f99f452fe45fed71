#include <cstdio>
#include <exception>
#include <string>

#include "host/daemon/Setup.h"
#include "host/daemon/StandardStreams.h"
#include "host/services/LogFormat.h"

namespace {

int fail(Failure const& failure) {
  for (std::string const& line : failure.lines) {
    std::fputs(("veskd: " + printable(line) + '\n').c_str(), stderr);
  }
  return static_cast<int>(failure.code);
}

int answer(Answer const& answer) {
  std::fputs(answer.text.c_str(), stdout);
  if (std::fflush(stdout) == 0) return static_cast<int>(ExitCode::stopped);
  return fail({ExitCode::noOutput, {"cannot write to standard output"}});
}

int run(Options const& options) {
  auto setup = readSetup(options);
  if (auto const* failure = std::get_if<Failure>(&setup)) return fail(*failure);
  auto& ready = std::get<DaemonSetup>(setup);

  const auto outputs = openOutputs(ready.settings);
  if (auto const* failure = std::get_if<Failure>(&outputs)) return fail(*failure);

  StopSignals signals;
  const std::string logFile = ready.settings.log.file;
  const ExitCode code =
      runDaemon(std::move(ready), std::get<std::shared_ptr<LogOutput>>(outputs), signals);
  if (code == ExitCode::stopped || logFile.empty()) return static_cast<int>(code);
  return fail({code, {"ended by a failure, see " + logFile}});
}

}  // namespace

int main(int argc, char** argv) {
  openMissingStreams();
  try {
    auto options = parseOptions(argc, argv);
    if (auto const* text = std::get_if<Answer>(&options)) return answer(*text);
    if (auto const* failure = std::get_if<Failure>(&options)) return fail(*failure);
    return run(std::get<Options>(options));
  } catch (std::exception const& error) {
    return fail({ExitCode::systemFailed, {error.what()}});
  }
}
