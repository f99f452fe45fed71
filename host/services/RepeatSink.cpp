#include "host/services/RepeatSink.h"

#include <fmt/format.h>
#include <spdlog/details/log_msg.h>

#include <algorithm>
#include <utility>

namespace {

/// More errors at a time than that are written as they come.
constexpr std::size_t kMostErrors = 1024;

/// Longer ones are written as they come: what is kept of them would have no bound.
constexpr std::size_t kLongestError = 4096;

/// What comes twice within that came twice in one pass.
constexpr std::chrono::milliseconds kOnePass{100};

/// By how much a pass may be late.
constexpr std::chrono::seconds kSlack{1};

std::string keyOf(spdlog::details::log_msg const& message) {
  std::string key(message.logger_name.data(), message.logger_name.size());
  key += '\0';
  return key.append(message.payload.data(), message.payload.size());
}

}  // namespace

RepeatSink::RepeatSink(spdlog::sink_ptr inner, Clock now)
    : fInner(std::move(inner)), fNow(std::move(now)) {}

void RepeatSink::log(spdlog::details::log_msg const& message) {
  if (message.level < spdlog::level::err || message.payload.size() > kLongestError) {
    fInner->log(message);
    return;
  }
  bool isToBeWritten = true;
  const std::uint64_t held = heldUntilNow(keyOf(message), isToBeWritten);
  if (!isToBeWritten) return;
  if (held == 0) {
    fInner->log(message);
    return;
  }
  const std::string text = fmt::format(
      "{} ({} times more in {} minutes)",
      std::string_view(message.payload.data(), message.payload.size()), held, kReminder.count());
  spdlog::details::log_msg reminder(message);
  reminder.payload = text;
  fInner->log(reminder);
}

/// @return how often the error came since it was last written, this time included.
std::uint64_t RepeatSink::heldUntilNow(std::string key, bool& isToBeWritten) {
  const std::lock_guard lock(fMutex);
  const Time now = fNow();
  const auto [at, isNew] = fErrors.try_emplace(std::move(key), Repeated{now, now});
  Repeated& error = at->second;
  const auto away = now - error.seenAt;
  if (isNew || away > error.pause) {
    error = {now, now};
    if (isNew) makeRoom(now);
    return 0;
  }
  error.seenAt = now;
  if (away > kOnePass) {
    error.pause = std::min<std::chrono::nanoseconds>(kLongestPause, 3 * away + kSlack);
  }
  ++error.held;
  isToBeWritten = now - error.writtenAt >= kReminder;
  if (!isToBeWritten) return 0;
  error.writtenAt = now;
  return std::exchange(error.held, 0);
}

void RepeatSink::makeRoom(Time now) {
  if (fErrors.size() <= kMostErrors) return;
  std::erase_if(fErrors, [now](auto const& keyAndError) {
    auto const& [key, error] = keyAndError;
    return now - error.seenAt > error.pause;
  });
  if (fErrors.size() > kMostErrors) fErrors.clear();
}
