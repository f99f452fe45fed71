#pragma once

#include <spdlog/sinks/base_sink.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "host/services/PromptWriter.h"

/// The lines of a log, each with the operating system once it is logged, or lost: a
/// reader that takes none and a disk that is full stop nobody. The lost ones are
/// counted, and the first line that is taken again comes after one that says so.
class LineSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  /// Told why lines are lost, when that begins.
  using Complaint = std::function<void(std::string const& cause)>;

  /// @param complaint none where there is nobody else to be told.
  explicit LineSink(PromptWriter writer, Complaint complaint = {});

  /// Says what is lost, if it can be said by now.
  ~LineSink() override;

  /// Counts a line that could not even be made.
  void lose(std::string const& cause);

 private:
  void sink_it_(spdlog::details::log_msg const& message) override;
  void flush_() override {}

  int put(spdlog::details::log_msg const& message);
  int tellLoss();
  void noteLoss(std::string cause);

  PromptWriter fWriter;
  Complaint fComplaint;
  bool fIsTorn = false;  ///< the last line that was begun has no end
  std::uint64_t fLost = 0;
  std::string fCause;  ///< of the first loss
};
