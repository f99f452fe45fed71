#include "host/services/LogOutput.h"

#include <utility>

#include "host/services/LineSink.h"
#include "host/services/LogFormat.h"
#include "host/services/RepeatSink.h"
#include "host/trust/TrustedPath.h"

namespace {

/// Where else a log file's own trouble is told.
LineSink::Complaint complaintAbout(std::string const& file, bool isJournalOnStderr) {
  const std::string begin =
      std::string(isJournalOnStderr ? journalPriority(spdlog::level::err) : "") +
      "vesk: cannot write the log " + printable(file) + ": ";
  auto writer = std::make_shared<PromptWriter>(PromptWriter::standardError());
  return [begin, writer](std::string const& cause) {
    static_cast<void>(writer->write(begin + printable(cause) + '\n'));
  };
}

std::shared_ptr<LineSink> openSink(LogSettings const& settings, std::string& cause) {
  if (settings.file.empty()) return std::make_shared<LineSink>(PromptWriter::standardError());
  auto opened = openTrustedOutput(settings.file);
  if (auto* reason = std::get_if<Distrust>(&opened); reason != nullptr) {
    cause = std::move(reason->text);
    return nullptr;
  }
  return std::make_shared<LineSink>(PromptWriter(std::get<UniqueFd>(std::move(opened))),
                                    complaintAbout(settings.file, settings.isJournalOnStderr));
}

}  // namespace

std::shared_ptr<LogOutput> LogOutput::open(LogSettings const& settings, std::string& cause) {
  auto sink = openSink(settings, cause);
  if (sink == nullptr) return nullptr;
  const bool isJournal = settings.file.empty() && settings.isJournalOnStderr;
  return std::make_shared<LogOutput>(sink, settings.level,
                                     isJournal ? LogLayout::journal : LogLayout::timed,
                                     [sink](std::string const& failure) { sink->lose(failure); });
}

LogOutput::LogOutput(spdlog::sink_ptr sink, spdlog::level::level_enum level, LogLayout layout,
                     Failure onFailure)
    : fSink(std::move(sink)),
      fWithoutRepeats(std::make_shared<RepeatSink>(fSink)),
      fLevel(level),
      fOnFailure(std::move(onFailure)) {
  fSink->set_formatter(makeLogFormat(layout));
}

std::shared_ptr<spdlog::logger> LogOutput::logger(std::string name) const {
  return make(std::move(name), fSink);
}

std::shared_ptr<spdlog::logger> LogOutput::repetitiveLogger(std::string name) const {
  return make(std::move(name), fWithoutRepeats);
}

std::shared_ptr<spdlog::logger> LogOutput::make(std::string name, spdlog::sink_ptr sink) const {
  auto logger = std::make_shared<spdlog::logger>(std::move(name), std::move(sink));
  logger->set_level(fLevel);
  logger->set_error_handler([onFailure = fOnFailure](std::string const& cause) {
    if (onFailure) onFailure(cause);
  });
  return logger;
}
