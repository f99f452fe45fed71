#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "framework/IEventListener.h"
#include "framework/PString.h"

/// The subscriptions of an event dispatcher and the events that wait for its
/// thread. Any thread may call; listeners and sources are only ever called and
/// released without the lock.
class EventQueue {
 public:
  EventQueue(std::shared_ptr<spdlog::logger> log, std::size_t capacity);

  void subscribe(PLiteral const& topic, IEventListener* listener);

  /// Ends one subscription. @return false when there is none.
  bool unsubscribe(PLiteral const& topic, IEventListener* listener);

  /// @return false when the queue is full, which is logged once until it was empty
  ///         again, or stopped.
  bool post(PLiteral const& topic, IBase* source, int value);

  /// Delivers events until `stop` is called and nothing is left to deliver.
  void run();

  void stop();

  /// Waits for `run` to return. @return false when it has not within that time.
  bool awaitEnd(std::chrono::milliseconds time);

 private:
  struct Subscription {
    PString topic;
    std::shared_ptr<IEventListener> listener;
    std::uint64_t since;  ///< number of the first event that it is for
  };

  struct Event {
    PString topic;
    std::shared_ptr<IBase> source;
    int value;
    std::uint64_t number;
  };

  /// Waits for an event. @return false when there will be no more.
  bool deliverNext();
  void noteLoss();
  std::vector<std::shared_ptr<IEventListener>> listenersOf(Event const& event) const;
  void deliver(IEventListener& listener, Event const& event) const;

  std::shared_ptr<spdlog::logger> fLog;
  std::size_t fCapacity;
  std::mutex fMutex;  ///< guards all that follows
  std::condition_variable fChanged;
  std::vector<Subscription> fSubscriptions;
  std::deque<Event> fEvents;
  std::uint64_t fPosted = 0;
  std::uint64_t fLost = 0;  ///< since the queue was last empty
  bool fStopped = false;
  bool fIsOver = false;
};
