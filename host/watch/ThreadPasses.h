#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "host/watch/WatchRecord.h"
#include "host/watch/WatchView.h"

/// An act that is under way, with what is known of it beforehand.
struct ActUnderWay {
  RecordKind kind = RecordKind::kill;
  std::optional<unsigned int> pid{};
  std::string reason{};      ///< empty where it cannot be told
  bool isPretended = false;  ///< a dry run holds it back
};

/// What one thread asks for, one pass after another: a name asked for again begins the
/// next pass, and so does a look after a pause, unless it is for a name that is still
/// missing in this pass. A pause alone may be a log line that waits to be written.
struct ThreadPass {
  static constexpr std::chrono::microseconds kPause{250'000};
  static constexpr std::size_t kMostNames = 4096;

  // The thread's own, beside whoever only looks.
  std::atomic<std::thread::id> thread{};
  std::atomic<bool> isInCall{false};
  std::atomic<unsigned int> pid{0};  ///< that it asked about last in this turn

  // Guarded by the board.
  std::string entry;            ///< the name it last asked for
  bool isEntryTold = false;     ///< false: `entry` is not that name
  std::set<std::string> names;  ///< asked for in this pass
  std::chrono::microseconds begun{0};
  std::chrono::microseconds ended{0};  ///< of the last call
  bool isOpen = false;                 ///< a pass was begun
  std::size_t knownNames = 0;          ///< how many entries its last whole pass asked for
  ActUnderWay act;

  bool isSpent(std::string const& name) const {
    return !isOpen || names.size() >= kMostNames || names.contains(name);
  }
  /// As far as can be seen, the pass is over.
  bool isIdle(std::chrono::microseconds now) const {
    return isOpen && !isInCall && now - ended > kPause;
  }
};

/// The passes of the threads that ask for processes. There are few of them; where
/// there are too many the one goes that was idle for the longest.
class ThreadPasses {
 public:
  /// The calling thread's; null when there is none. Takes no lock.
  ThreadPass* mine() noexcept;

  /// The same, but makes one. @return null when all are busy. Needs the board's lock.
  ThreadPass* makeMine() noexcept;

  /// Whose passes are the watchdog's: the thread that asks for the most entries. Null
  /// before anybody asked for anything. Needs the board's lock.
  ThreadPass* leader() noexcept { return fLeader; }
  ThreadPass const* leader() const noexcept { return fLeader; }

  /// Forgets all passes and whose are the watchdog's. Needs the board's lock.
  void clear() noexcept;

  /// Decides that anew, at the end of a pass of `pass`. Needs the board's lock.
  void elect(ThreadPass& pass, std::chrono::microseconds now,
             std::chrono::microseconds longestIdle) noexcept;

 private:
  static void clear(ThreadPass& pass, std::thread::id thread) noexcept;
  ThreadPass* takeLongestIdle() noexcept;

  static constexpr std::size_t kMost = 16;
  std::array<ThreadPass, kMost> fPasses;
  ThreadPass* fLeader = nullptr;
};
