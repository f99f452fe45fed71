#pragma once

#include "framework/IBase.h"
#include "framework/IEventListener.h"
#include "framework/PLiteral.h"

/// Interface identifier of the event dispatcher.
inline constexpr wchar_t ID_IEVENTDISPATCHER[] = L"com.telmor.vesk.eventdispatcher";

/// Carries events from whoever posts them to whoever subscribed to their topic.
/// All operations may be called from any thread.
class IEventDispatcher : public IBase {
 public:
  /// Has `listener` called for every later event of `topic`; the empty topic
  /// stands for all. The dispatcher holds a reference until `unsubscribe`.
  /// @return 0, or -EINVAL for a null listener.
  virtual int subscribe(PLiteral const& topic, IEventListener* listener) = 0;

  /// Ends a subscription made with the same two arguments. A call that is under
  /// way on the dispatcher's thread may still end after this returns.
  /// @return 0, or `PResult::notFound`.
  virtual int unsubscribe(PLiteral const& topic, IEventListener* listener) = 0;

  /// Queues an event and returns without waiting for any listener.
  /// @param source what the event is about, or null; a reference to it is held
  ///        until the event is delivered.
  /// @return 0, or -ENOBUFS when listeners are so far behind that the queue is
  ///         full, or the host has ended its services, and the event is dropped.
  virtual int postEvent(PLiteral const& topic, IBase* source, int value) = 0;
};
