#include "host/services/EventQueue.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "framework/PUtils.h"
#include "host/HoldRef.h"

EventQueue::EventQueue(std::shared_ptr<spdlog::logger> log, std::size_t capacity)
    : fLog(std::move(log)), fCapacity(capacity) {}

void EventQueue::subscribe(PLiteral const& topic, IEventListener* listener) {
  Subscription subscription{topic, holdRef(listener), 0};
  const std::lock_guard lock(fMutex);
  subscription.since = fPosted;
  fSubscriptions.push_back(std::move(subscription));
}

bool EventQueue::unsubscribe(PLiteral const& topic, IEventListener* listener) {
  std::shared_ptr<IEventListener> released;
  const std::lock_guard lock(fMutex);
  const auto found = std::find_if(
      fSubscriptions.begin(), fSubscriptions.end(), [&](Subscription const& subscription) {
        return subscription.listener.get() == listener && subscription.topic == topic;
      });
  if (found == fSubscriptions.end()) return false;
  released = std::move(found->listener);
  fSubscriptions.erase(found);
  return true;
}

bool EventQueue::post(PLiteral const& topic, IBase* source, int value) {
  Event event{topic, holdRef(source), value, 0};
  std::unique_lock lock(fMutex);
  if (fStopped) return false;
  if (fEvents.size() >= fCapacity) {
    const bool isFirst = fLost++ == 0;
    lock.unlock();
    if (isFirst) fLog->warn("events are lost: {} wait for listeners already", fCapacity);
    return false;
  }
  event.number = fPosted;
  fEvents.push_back(std::move(event));
  ++fPosted;
  fChanged.notify_all();
  return true;
}

void EventQueue::run() {
  while (true) {
    try {
      if (!deliverNext()) break;
    } catch (std::exception const& error) {
      fLog->error("an event is lost: {}", error.what());
    }
  }
  const std::lock_guard lock(fMutex);
  fIsOver = true;
  fChanged.notify_all();
}

bool EventQueue::awaitEnd(std::chrono::milliseconds time) {
  std::unique_lock lock(fMutex);
  if (fChanged.wait_for(lock, time, [this] { return fIsOver; })) return true;
  const std::size_t waiting = fEvents.size();
  lock.unlock();
  fLog->error("a listener has not returned: {} events are not delivered", waiting);
  return false;
}

bool EventQueue::deliverNext() {
  Event event{};
  std::vector<std::shared_ptr<IEventListener>> listeners;
  {
    std::unique_lock lock(fMutex);
    fChanged.wait(lock, [this] { return fStopped || !fEvents.empty(); });
    if (fEvents.empty()) return false;
    event = std::move(fEvents.front());
    fEvents.pop_front();
    listeners = listenersOf(event);
  }
  for (auto const& listener : listeners) deliver(*listener, event);
  noteLoss();
  return true;
}

/// Says how much was lost, once the listeners have caught up.
void EventQueue::noteLoss() {
  std::uint64_t lost = 0;
  {
    const std::lock_guard lock(fMutex);
    if (fEvents.empty()) lost = std::exchange(fLost, 0);
  }
  if (lost > 0) fLog->warn("events are delivered again: {} lost meanwhile", lost);
}

void EventQueue::stop() {
  const std::lock_guard lock(fMutex);
  fStopped = true;
  fChanged.notify_all();
}

std::vector<std::shared_ptr<IEventListener>> EventQueue::listenersOf(Event const& event) const {
  std::vector<std::shared_ptr<IEventListener>> listeners;
  for (Subscription const& subscription : fSubscriptions) {
    const bool wanted = subscription.since <= event.number &&
                        (subscription.topic.isEmpty() || subscription.topic == event.topic);
    // Once per event, however many of its subscriptions the event fits.
    if (wanted &&
        std::find(listeners.begin(), listeners.end(), subscription.listener) == listeners.end()) {
      listeners.push_back(subscription.listener);
    }
  }
  return listeners;
}

void EventQueue::deliver(IEventListener& listener, Event const& event) const {
  try {
    listener.onEvent(event.topic, event.source.get(), event.value);
  } catch (std::exception const& error) {
    fLog->error("a listener of `{}' failed: {}", PUtils::toUtf8(event.topic), error.what());
  } catch (...) {
    fLog->error("a listener of `{}' failed", PUtils::toUtf8(event.topic));
  }
}
