#include "host/watch/RecordedServices.h"

#include <utility>

#include "framework/PResult.h"
#include "host/HoldRef.h"

RecordedEvents::RecordedEvents(IEventDispatcher* inner, std::shared_ptr<WatchBoard> board)
    : fInner(holdRef(inner)), fBoard(std::move(board)) {}

int RecordedEvents::subscribe(PLiteral const& topic, IEventListener* listener) {
  return fInner->subscribe(topic, listener);
}

int RecordedEvents::unsubscribe(PLiteral const& topic, IEventListener* listener) {
  return fInner->unsubscribe(topic, listener);
}

int RecordedEvents::postEvent(PLiteral const& topic, IBase* source, int value) {
  const int res = fInner->postEvent(topic, source, value);
  if (res == PResult::ok) fBoard->noteEvent(topic, value);
  return res;
}

RecordedRestart::RecordedRestart(IOSRestart* inner, std::shared_ptr<WatchBoard> board)
    : fInner(holdRef(inner)), fBoard(std::move(board)) {}

int RecordedRestart::restart(int mode) {
  fBoard->beginRestart();
  const int res = fInner->restart(mode);
  fBoard->endAct(res);
  return res;
}
