#pragma once

#include "framework/IBase.h"
#include "framework/PLiteral.h"

/// Receives events from an `IEventDispatcher`.
class IEventListener : public IBase {
 public:
  /// Called once per event of a subscribed topic, in the order of posting, on
  /// the dispatcher's thread; never from within `postEvent`, so that a listener
  /// may call whoever posted.
  /// @param topic of the event; valid during the call.
  /// @param source the object that the event is about, or null; whoever keeps it
  ///        calls `incRef()`.
  /// @param value a number whose meaning the topic defines.
  virtual void onEvent(PLiteral const& topic, IBase* source, int value) = 0;
};
