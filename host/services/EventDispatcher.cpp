#include "host/services/EventDispatcher.h"

#include <cerrno>
#include <utility>

#include "framework/PGuard.h"
#include "framework/PThread.h"

EventDispatcher::EventDispatcher(std::shared_ptr<spdlog::logger> log)
    : fQueue(std::make_shared<EventQueue>(std::move(log), kCapacity)),
      // The thread shares the queue: it may outlive this object, see below.
      fThread([queue = fQueue] {
        PThread::setName("vesk-events");
        queue->run();
      }) {}

EventDispatcher::~EventDispatcher() {
  // A listener may have held the last reference; no thread joins itself.
  if (fThread.get_id() == std::this_thread::get_id()) {
    fQueue->stop();
    fThread.detach();
  } else {
    close();
  }
}

bool EventDispatcher::close() {
  fQueue->stop();
  if (!fThread.joinable()) return !fIsLeftBehind;
  if (!fQueue->awaitEnd(kPatience)) {
    fIsLeftBehind = true;
    fThread.detach();
    return false;
  }
  fThread.join();
  return true;
}

int EventDispatcher::subscribe(PLiteral const& topic, IEventListener* listener) {
  return pGuarded([&] {
    if (listener == nullptr) return -EINVAL;
    fQueue->subscribe(topic, listener);
    return PResult::ok;
  });
}

int EventDispatcher::unsubscribe(PLiteral const& topic, IEventListener* listener) {
  return pGuarded(
      [&] { return fQueue->unsubscribe(topic, listener) ? PResult::ok : PResult::notFound; });
}

int EventDispatcher::postEvent(PLiteral const& topic, IBase* source, int value) {
  return pGuarded([&] { return fQueue->post(topic, source, value) ? PResult::ok : -ENOBUFS; });
}
