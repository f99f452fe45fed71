#include "host/services/EventDispatcher.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <future>
#include <stdexcept>

#include "framework/PResult.h"
#include "framework/PUtils.h"
#include "host/services/HoldRef.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;

namespace {

class Source : public RefCounted<IBase> {
 public:
  explicit Source(bool& gone) : fGone(gone) {}

 private:
  ~Source() override { fGone = true; }
  bool& fGone;
};

/// Runs what the test gives it.
class Listener : public RefCounted<IEventListener> {
 public:
  using Receive = std::function<void(std::string const& topic, IBase* source, int value)>;
  explicit Listener(Receive receive) : fReceive(std::move(receive)) {}
  void onEvent(PLiteral const& topic, IBase* source, int value) override {
    fReceive(PUtils::toUtf8(topic), source, value);
  }

 private:
  Receive fReceive;
};

class Events : public testing::Test {
 protected:
  void make(std::size_t capacity = EventDispatcher::kCapacity) {
    fDispatcher = holdRef(new EventDispatcher(fLog.logger(), capacity));
  }

  std::shared_ptr<Listener> recorder(std::vector<std::string>& record) {
    return holdRef(new Listener([&record](std::string const& topic, IBase*, int value) {
      record.push_back(topic + std::to_string(value));
    }));
  }

  /// Keeps the delivering thread busy until the result is set.
  std::promise<void> block() {
    std::promise<void> release;
    auto reached = std::make_shared<std::promise<void>>();
    fBlocker = holdRef(new Listener(
        [reached, released = release.get_future().share()](std::string const&, IBase*, int) {
          reached->set_value();
          released.wait();
        }));
    fDispatcher->subscribe(L"block", fBlocker.get());
    fDispatcher->postEvent(L"block", nullptr, 0);
    reached->get_future().wait();
    return release;
  }

  CollectedLog fLog;
  std::shared_ptr<Listener> fBlocker;
  std::shared_ptr<EventDispatcher> fDispatcher;
};

TEST_F(Events, ReachTheSubscribersOfTheirTopicInOrderAndOnce) {
  std::vector<std::string> ofA, ofAll, late;
  const auto listenerA = recorder(ofA);
  const auto listenerAll = recorder(ofAll);
  const auto listenerLate = recorder(late);
  make();
  auto release = block();
  EXPECT_EQ(fDispatcher->subscribe(L"a", listenerA.get()), 0);
  EXPECT_EQ(fDispatcher->subscribe(L"", listenerAll.get()), 0);
  EXPECT_EQ(fDispatcher->subscribe(L"b", listenerAll.get()), 0);
  for (int i = 1; i <= 2; ++i) {
    EXPECT_EQ(fDispatcher->postEvent(L"a", nullptr, i), 0);
    EXPECT_EQ(fDispatcher->postEvent(L"b", nullptr, i), 0);
  }
  EXPECT_EQ(fDispatcher->subscribe(L"", listenerLate.get()), 0);
  EXPECT_EQ(fDispatcher->postEvent(L"c", nullptr, 3), 0);
  release.set_value();
  fDispatcher.reset();  // delivers what is left
  EXPECT_THAT(ofA, ElementsAre("a1", "a2"));
  EXPECT_THAT(ofAll, ElementsAre("a1", "b1", "a2", "b2", "c3"));
  EXPECT_THAT(late, ElementsAre("c3"));
}

TEST_F(Events, AnEndedSubscriptionIsOverAndLetsItsListenerGo) {
  std::vector<std::string> record;
  const auto listener = recorder(record);
  make();
  EXPECT_EQ(fDispatcher->subscribe(L"a", nullptr), -EINVAL);
  EXPECT_EQ(fDispatcher->subscribe(L"a", listener.get()), 0);
  EXPECT_EQ(fDispatcher->unsubscribe(L"b", listener.get()), PResult::notFound);
  EXPECT_EQ(fDispatcher->unsubscribe(L"a", listener.get()), 0);
  EXPECT_EQ(fDispatcher->unsubscribe(L"a", listener.get()), PResult::notFound);
  EXPECT_EQ(fDispatcher->postEvent(L"a", nullptr, 1), 0);
  fDispatcher.reset();
  EXPECT_TRUE(record.empty());
  EXPECT_EQ(listener->incRef(), 2);
  listener->decRef();
}

TEST_F(Events, AFullQueueRefusesAndSourcesLiveUntilDelivered) {
  bool keptGone = false;
  bool refusedGone = false;
  bool seen = false;
  const auto listener = holdRef(new Listener(
      [&](std::string const&, IBase* source, int) { seen = source != nullptr && !keptGone; }));
  make(2);
  auto release = block();
  fDispatcher->subscribe(L"a", listener.get());
  EXPECT_EQ(fDispatcher->postEvent(L"a", new Source(keptGone), 1), 0);
  EXPECT_EQ(fDispatcher->postEvent(L"other", nullptr, 2), 0);
  EXPECT_EQ(fDispatcher->postEvent(L"a", new Source(refusedGone), 3), -ENOBUFS);
  EXPECT_TRUE(refusedGone);
  EXPECT_FALSE(keptGone);
  release.set_value();
  fDispatcher.reset();
  EXPECT_TRUE(seen && keptGone);
}

TEST_F(Events, AListenerMayThrowCallBackAndDropTheLastReference) {
  make();
  std::vector<int> received;
  std::promise<void> onlyReference;
  auto gone = std::make_shared<std::promise<void>>();
  const auto listenerGone = gone->get_future();
  EventDispatcher* const dispatcher = fDispatcher.get();
  dispatcher->incRef();
  auto listener =
      holdRef(new Listener([&, gone = std::move(gone)](std::string const&, IBase*, int value) {
        received.push_back(value);
        if (value == 0) {
          onlyReference.get_future().wait();
          dispatcher->postEvent(L"a", nullptr, 1);
          dispatcher->postEvent(L"a", nullptr, 2);
          throw std::runtime_error("no\nmore");
        }
        if (value == 1) dispatcher->decRef();
      }));
  dispatcher->subscribe(L"a", listener.get());
  dispatcher->postEvent(L"a", nullptr, 0);
  fDispatcher.reset();
  listener.reset();
  onlyReference.set_value();
  listenerGone.wait();
  EXPECT_THAT(received, ElementsAre(0, 1, 2));
  EXPECT_THAT(fLog.lines(), ElementsAre("error test: a listener of `a' failed: no\\nmore"));
}

}  // namespace
