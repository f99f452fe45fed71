#pragma once

#include <spdlog/sinks/ostream_sink.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/services/LogOutput.h"

/// A log whose lines the test reads back.
class CollectedLog {
 public:
  explicit CollectedLog(spdlog::level::level_enum level = spdlog::level::debug)
      : fSink(std::make_shared<spdlog::sinks::ostream_sink_mt>(fStream)),
        fOutput(std::make_shared<LogOutput>(fSink, level)) {}

  std::shared_ptr<LogOutput> const& output() const { return fOutput; }
  spdlog::sink_ptr sink() const { return fSink; }
  std::shared_ptr<spdlog::logger> logger() const { return fOutput->logger("test"); }
  std::string text() const { return fStream.str(); }

  /// What was logged, a line each, from the level on.
  std::vector<std::string> lines() const {
    std::vector<std::string> found;
    std::istringstream text(fStream.str());
    for (std::string line; std::getline(text, line);) {
      found.push_back(line.substr(line.find(' ') + 1));
    }
    return found;
  }

 private:
  std::ostringstream fStream;
  spdlog::sink_ptr fSink;
  std::shared_ptr<LogOutput> fOutput;
};
