#pragma once

#include <spdlog/logger.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <thread>

#include "framework/IEventDispatcher.h"
#include "host/RefCounted.h"
#include "host/services/EventQueue.h"

/// Delivers events on a thread of its own. The last reference to go waits until
/// all that was posted is delivered, but not for a listener that does not return.
class EventDispatcher : public RefCounted<IEventDispatcher> {
 public:
  /// How many events may wait.
  static constexpr std::size_t kCapacity = 1024;

  /// @param log receives what listeners throw.
  explicit EventDispatcher(std::shared_ptr<spdlog::logger> log);

  int subscribe(PLiteral const& topic, IEventListener* listener) override;
  int unsubscribe(PLiteral const& topic, IEventListener* listener) override;
  int postEvent(PLiteral const& topic, IBase* source, int value) override;

  /// How long the last deliveries may take.
  static constexpr std::chrono::seconds kPatience{10};

  /// Delivers what was posted and ends the thread, whoever still holds this object; what is
  /// posted later is refused. Not for listeners.
  /// @return false when that takes too long: the thread is left behind in a listener,
  ///         whose library must not be unloaded.
  bool close();

 private:
  ~EventDispatcher() override;

  std::shared_ptr<EventQueue> fQueue;
  bool fIsLeftBehind = false;
  std::thread fThread;
};
