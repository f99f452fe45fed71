#include "host/services/Logger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PUtils.h"

namespace {

/// By `LogLevelEnum`.
constexpr std::array<spdlog::level::level_enum, 4> kLevels = {
    spdlog::level::debug, spdlog::level::info, spdlog::level::err, spdlog::level::off};

/// The text of a wide `printf` call, however long.
/// @return 0 or the negated errno of what could not be formatted.
int formatWide(const wchar_t* format, std::va_list arguments, std::string& utf8) {
  wchar_t* text = nullptr;
  std::size_t length = 0;
  std::FILE* stream = open_wmemstream(&text, &length);
  if (stream == nullptr) return -errno;
  errno = 0;
  const bool written = std::vfwprintf(stream, format, arguments) >= 0;
  const int error = errno != 0 ? errno : EINVAL;
  const bool closed = std::fclose(stream) == 0;
  const std::unique_ptr<wchar_t, decltype(&std::free)> owned(text, &std::free);
  if (!written || !closed) return -error;
  utf8 = PUtils::toUtf8(PLiteral(text));
  return PResult::ok;
}

}  // namespace

Logger::Logger(std::shared_ptr<LogOutput const> output)
    : fOutput(std::move(output)), fLog(fOutput->repetitiveLogger("vesk")) {}

int Logger::init(PLiteral const& logName) {
  return pGuarded([&] {
    if (logName.isEmpty()) return -EINVAL;
    auto named = fOutput->repetitiveLogger(PUtils::toUtf8(logName));
    named->set_level(fLog->level());
    fLog = std::move(named);
    return PResult::ok;
  });
}

int Logger::setLevel(LogLevelEnum level) {
  const auto index = static_cast<std::size_t>(level);
  if (index >= kLevels.size()) return -EINVAL;
  fLog->set_level(std::max(kLevels[index], fOutput->level()));
  return PResult::ok;
}

LogLevelEnum Logger::getLevel() const {
  // The host knows one level more; of what a client logs, it lets errors through.
  const auto* row = std::find_if(kLevels.begin(), kLevels.end(),
                                 [this](auto level) { return level >= fLog->level(); });
  return static_cast<LogLevelEnum>(row - kLevels.begin());
}

int Logger::flush() {
  return pGuarded([this] {
    fLog->flush();
    return PResult::ok;
  });
}

int Logger::info(int /*category*/, const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int res = write(spdlog::level::info, format, arguments);
  va_end(arguments);
  return res;
}

int Logger::error(int /*category*/, const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int res = write(spdlog::level::err, format, arguments);
  va_end(arguments);
  return res;
}

int Logger::debug(int /*category*/, const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int res = write(spdlog::level::debug, format, arguments);
  va_end(arguments);
  return res;
}

int Logger::write(spdlog::level::level_enum level, const wchar_t* format, std::va_list arguments) {
  if (format == nullptr) return -EINVAL;
  if (!fLog->should_log(level)) return PResult::ok;
  // Not a va_list by reference: on some targets it is an array.
  std::va_list own;
  va_copy(own, arguments);
  const int res = pGuarded([&] {
    std::string text;
    const int formatted = formatWide(format, own, text);
    // Better the bare format than nothing at all.
    if (formatted != PResult::ok) text = PUtils::toUtf8(format);
    fLog->log(level, text);
    return formatted;
  });
  va_end(own);
  return res;
}
