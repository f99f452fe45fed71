#pragma once

#include <chrono>
#include <string_view>
#include <utility>

#include "host/process/UniqueFd.h"

/// Writes text to a descriptor and does not let its reader hold the writer up: what a
/// pipe, a socket or a terminal does not take is not waited for, but for a moment.
/// A file is written as fast as its disk is. One thread at a time.
class PromptWriter {
 public:
  /// A reader may be waited for so long at once, and, on the whole, for one part in
  /// twenty of the time: one that is only busy misses nothing, and one that is stuck
  /// or crawls costs nobody more than that.
  static constexpr std::chrono::milliseconds kMostPatience{500};
  static constexpr int kShareOfTime = 20;

  /// Writes to standard error. Whoever else has it finds it as it was: where it would
  /// have to be made non-blocking it is opened anew.
  static PromptWriter standardError();

  /// @param own opened by this process; is made non-blocking.
  explicit PromptWriter(UniqueFd own);

  /// @return 0 once all is taken, or the negated errno for which the rest is not.
  int write(std::string_view text);

  /// Whether a part of what was last written was taken.
  bool isTorn() const { return fIsTorn; }

 private:
  using Clock = std::chrono::steady_clock;
  enum class Kind {
    own,     ///< returns at once by itself, or is a file
    socket,  ///< is told each time to do so
    shared   ///< is asked first whether it would
  };

  PromptWriter(UniqueFd own, int descriptor, Kind kind);

  long writeSome(std::string_view text) const;
  bool hasRoomWithin(std::chrono::milliseconds time) const;
  bool awaitRoom();

  UniqueFd fOwn;
  int fDescriptor;
  Kind fKind;
  bool fIsTorn = false;
  std::chrono::nanoseconds fPatience = kMostPatience;
  Clock::time_point fPatienceAt = Clock::now();
};
