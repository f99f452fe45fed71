#pragma once

#include <spdlog/logger.h>

#include <cstdarg>
#include <memory>

#include "framework/ILogger.h"
#include "host/RefCounted.h"
#include "host/services/LogOutput.h"

/// One client's logger. Until `init` names it, it logs as "vesk".
class Logger : public RefCounted<ILogger> {
 public:
  explicit Logger(std::shared_ptr<LogOutput const> output);

  int init(PLiteral const& logName) override;
  int setLevel(LogLevelEnum level) override;
  LogLevelEnum getLevel() const override;
  int flush() override;
  int info(int category, const wchar_t* format, ...) override;
  int error(int category, const wchar_t* format, ...) override;
  int debug(int category, const wchar_t* format, ...) override;

 private:
  ~Logger() override = default;

  int write(spdlog::level::level_enum level, const wchar_t* format, std::va_list arguments);

  std::shared_ptr<LogOutput const> fOutput;
  std::shared_ptr<spdlog::logger> fLog;
};
