#include "host/services/LogOutput.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <cstdio>
#include <system_error>
#include <utility>

#include "host/services/AppendableFile.h"
#include "host/services/LogFormat.h"

std::shared_ptr<LogOutput> LogOutput::open(LogSettings const& settings, std::string& cause) {
  if (settings.file.empty()) {
    return std::make_shared<LogOutput>(
        std::make_shared<spdlog::sinks::stderr_sink_mt>(), settings.level,
        settings.isJournalOnStderr ? LogLayout::journal : LogLayout::timed);
  }
  // Tried first: the library would make missing folders, and keep the cause to
  // itself.
  if (const int res = ensureAppendable(settings.file); res != 0) {
    cause = std::generic_category().message(-res);
    return nullptr;
  }
  try {
    return std::make_shared<LogOutput>(
        std::make_shared<spdlog::sinks::basic_file_sink_mt>(settings.file), settings.level);
  } catch (spdlog::spdlog_ex const& error) {
    cause = error.what();
    return nullptr;
  }
}

LogOutput::LogOutput(spdlog::sink_ptr sink, spdlog::level::level_enum level, LogLayout layout)
    : fSink(std::move(sink)),
      fLevel(level),
      fFailureReported(std::make_shared<std::atomic<bool>>(false)) {
  fSink->set_formatter(makeLogFormat(layout));
}

std::shared_ptr<spdlog::logger> LogOutput::logger(std::string name) const {
  auto logger = std::make_shared<spdlog::logger>(std::move(name), fSink);
  logger->set_level(fLevel);
  logger->flush_on(spdlog::level::trace);
  logger->set_error_handler([reported = fFailureReported](std::string const& cause) {
    if (!reported->exchange(true)) {
      std::fputs(("vesk: cannot write the log: " + printable(cause) + '\n').c_str(), stderr);
    }
  });
  return logger;
}
