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
      : fOutput(std::make_shared<LogOutput>(
            std::make_shared<spdlog::sinks::ostream_sink_mt>(fStream), level)) {}

  std::shared_ptr<LogOutput> const& output() const { return fOutput; }
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
  std::shared_ptr<LogOutput> fOutput;
};
