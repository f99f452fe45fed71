#pragma once

#include <spdlog/sinks/sink.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

/// Passes lines on, but an error that comes again at every pass only once, and then
/// every ten minutes with the number of times. One that stayed away for longer than it
/// did between its repetitions is news again. Any thread may call.
class RepeatSink : public spdlog::sinks::sink {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Clock = std::function<Time()>;

  /// An error that comes again later than that is news.
  static constexpr std::chrono::seconds kLongestPause{10};
  static constexpr std::chrono::minutes kReminder{10};

  /// @param inner has its own layout.
  explicit RepeatSink(spdlog::sink_ptr inner, Clock now = &std::chrono::steady_clock::now);

  void log(spdlog::details::log_msg const& message) override;
  void flush() override { fInner->flush(); }
  void set_pattern(std::string const& pattern) override { fInner->set_pattern(pattern); }
  void set_formatter(std::unique_ptr<spdlog::formatter> formatter) override {
    fInner->set_formatter(std::move(formatter));
  }

 private:
  struct Repeated {
    Time writtenAt;
    Time seenAt;
    std::chrono::nanoseconds pause = kLongestPause;  ///< away for longer, it is news
    std::uint64_t held = 0;                          ///< since it was written
  };

  std::uint64_t heldUntilNow(std::string key, bool& isToBeWritten);
  void makeRoom(Time now);

  const spdlog::sink_ptr fInner;
  const Clock fNow;
  std::mutex fMutex;  ///< guards what follows
  std::unordered_map<std::string, Repeated> fErrors;
};
