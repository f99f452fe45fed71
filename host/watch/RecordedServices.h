#pragma once

#include <memory>

#include "framework/IEventDispatcher.h"
#include "framework/IOSRestart.h"
#include "host/RefCounted.h"
#include "host/watch/WatchBoard.h"

/// Passes everything on to another dispatcher, and tells the board what was
/// published. Any thread may call.
class RecordedEvents : public RefCounted<IEventDispatcher> {
 public:
  /// @param inner is held.
  RecordedEvents(IEventDispatcher* inner, std::shared_ptr<WatchBoard> board);

  int subscribe(PLiteral const& topic, IEventListener* listener) override;
  int unsubscribe(PLiteral const& topic, IEventListener* listener) override;
  int postEvent(PLiteral const& topic, IBase* source, int value) override;

 private:
  ~RecordedEvents() override = default;

  const std::shared_ptr<IEventDispatcher> fInner;
  const std::shared_ptr<WatchBoard> fBoard;
};

/// The same for the restart of the operating system, whose result is recorded.
class RecordedRestart : public RefCounted<IOSRestart> {
 public:
  /// @param inner is held.
  RecordedRestart(IOSRestart* inner, std::shared_ptr<WatchBoard> board);

  int restart(int mode) override;

 private:
  ~RecordedRestart() override = default;

  const std::shared_ptr<IOSRestart> fInner;
  const std::shared_ptr<WatchBoard> fBoard;
};
