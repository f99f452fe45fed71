#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

/// A text that costs something to make: whoever asks within a second of the last time
/// gets that one again. Any thread may call.
class RecentText {
 public:
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  static constexpr std::chrono::seconds kKept{1};

  RecentText(std::function<std::string()> make, Clock now);

  /// Waits for another caller who has it made. What `make` throws comes through.
  std::string get();

 private:
  const std::function<std::string()> fMake;
  const Clock fNow;
  std::mutex fMutex;  ///< guards what follows; held while the text is made
  std::string fText;
  std::optional<std::chrono::steady_clock::time_point> fMadeAt;
};
