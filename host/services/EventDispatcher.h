#pragma once

#include <spdlog/logger.h>

#include <cstddef>
#include <memory>
#include <thread>

#include "framework/IEventDispatcher.h"
#include "host/RefCounted.h"
#include "host/services/EventQueue.h"

/// Delivers events on a thread of its own. The last reference to go waits until
/// all that was posted is delivered.
class EventDispatcher : public RefCounted<IEventDispatcher> {
 public:
  static constexpr std::size_t kCapacity = 1024;

  /// @param log receives what listeners throw.
  /// @param capacity how many events may wait.
  explicit EventDispatcher(std::shared_ptr<spdlog::logger> log, std::size_t capacity = kCapacity);

  int subscribe(PLiteral const& topic, IEventListener* listener) override;
  int unsubscribe(PLiteral const& topic, IEventListener* listener) override;
  int postEvent(PLiteral const& topic, IBase* source, int value) override;

  /// Delivers what was posted and ends the thread, whoever still holds this object; what is
  /// posted later is refused. Not for listeners.
  void close();

 private:
  ~EventDispatcher() override;

  std::shared_ptr<EventQueue> fQueue;
  std::thread fThread;
};
