#include "host/services/EventDispatcher.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <future>
#include <stdexcept>

#include "framework/PResult.h"
#include "framework/PUtils.h"
#include "host/HoldRef.h"
#include "tests/host/services/CollectedLog.h"

using testing::ElementsAre;

namespace {

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
  /// Makes a dispatcher whose thread is kept busy until `fRelease` is set.
  void makeBusy(std::size_t capacity) {
    fDispatcher = holdRef(new EventDispatcher(fLog.logger(), capacity));
    fBlocker = holdRef(new Listener([this](std::string const&, IBase*, int) {
      fDispatcher->unsubscribe(L"none", nullptr);  // a listener may call back
      fReached.set_value();
      fRelease.get_future().wait();
      throw std::runtime_error("no\nmore");
    }));
    fDispatcher->subscribe(L"block", fBlocker.get());
    fDispatcher->postEvent(L"block", nullptr, 0);
    fReached.get_future().wait();
  }

  CollectedLog fLog;
  std::promise<void> fReached, fRelease;
  std::shared_ptr<Listener> fBlocker;
  std::shared_ptr<EventDispatcher> fDispatcher;
};

TEST_F(Events, ReachTheSubscribersOfTheirTopicInOrderAndOnce) {
  std::vector<std::string> records[4];
  std::shared_ptr<Listener> listeners[4];
  for (int i = 0; i < 4; ++i) {
    listeners[i] = holdRef(new Listener([&, i](std::string const& topic, IBase*, int value) {
      records[i].push_back(topic + std::to_string(value));
    }));
  }
  auto const& [ofA, ofAll, late, ended] = listeners;
  makeBusy(EventDispatcher::kCapacity);
  EXPECT_EQ(fDispatcher->subscribe(L"a", nullptr), -EINVAL);
  EXPECT_EQ(fDispatcher->subscribe(L"a", ended.get()), 0);
  EXPECT_EQ(fDispatcher->unsubscribe(L"b", ended.get()), PResult::notFound);
  EXPECT_EQ(fDispatcher->unsubscribe(L"a", ended.get()), 0);
  EXPECT_EQ(fDispatcher->unsubscribe(L"a", ended.get()), PResult::notFound);
  for (const wchar_t* topic : {L"", L"b"}) fDispatcher->subscribe(topic, ofAll.get());
  EXPECT_EQ(fDispatcher->subscribe(L"a", ofA.get()), 0);
  for (int i = 1; i <= 2; ++i) {
    for (const wchar_t* topic : {L"a", L"b"}) fDispatcher->postEvent(topic, nullptr, i);
  }
  EXPECT_EQ(fDispatcher->subscribe(L"", late.get()), 0);
  EXPECT_EQ(fDispatcher->postEvent(L"c", nullptr, 3), 0);
  fRelease.set_value();
  fDispatcher->close();  // delivers what is left, though it is still held
  EXPECT_EQ(fDispatcher->postEvent(L"c", nullptr, 4), -ENOBUFS);
  EXPECT_EQ(fDispatcher->unsubscribe(L"a", ofA.get()), 0);
  fDispatcher.reset();
  EXPECT_THAT(records,
              ElementsAre(ElementsAre("a1", "a2"), ElementsAre("a1", "b1", "a2", "b2", "c3"),
                          ElementsAre("c3"), ElementsAre()));
  for (auto const& each : listeners) {
    EXPECT_EQ(each->incRef(), 2) << "only this test holds it";
    each->decRef();
  }
}

TEST_F(Events, AFullQueueRefusesAndSourcesLiveUntilDelivered) {
  const auto kept = std::make_shared<int>();
  const auto refused = std::make_shared<int>();
  const auto sourceOf = [](std::shared_ptr<int> const& token) {
    return new Listener([token](std::string const&, IBase*, int) {});
  };
  long holders = 0;
  const auto listener =
      holdRef(new Listener([&](std::string const&, IBase*, int) { holders = kept.use_count(); }));
  makeBusy(2);
  fDispatcher->subscribe(L"a", listener.get());
  EXPECT_EQ(fDispatcher->postEvent(L"a", sourceOf(kept), 1), 0);
  EXPECT_EQ(fDispatcher->postEvent(L"other", nullptr, 2), 0);
  EXPECT_EQ(fDispatcher->postEvent(L"a", sourceOf(refused), 3), -ENOBUFS);
  EXPECT_EQ(refused.use_count(), 1);
  fRelease.set_value();
  fDispatcher.reset();  // delivers what is left
  EXPECT_EQ(holders, 2);
  EXPECT_EQ(kept.use_count(), 1);
  EXPECT_THAT(fLog.lines(),
              ElementsAre("warning test: events are lost: 2 wait for listeners already",
                          "error test: a listener of `block' failed: no\\nmore",
                          "warning test: events are delivered again: 1 lost meanwhile"));
}

}  // namespace
