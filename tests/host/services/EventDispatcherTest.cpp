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

TEST(Events, ReachTheSubscribersOfTheirTopicInOrderAndOnce) {
  const CollectedLog log;
  std::promise<void> reached, release;
  auto dispatcher = holdRef(new EventDispatcher(log.logger()));
  const auto blocker = holdRef(new Listener([&](std::string const&, IBase*, int) {
    dispatcher->unsubscribe(L"none", nullptr);  // a listener may call back
    reached.set_value();
    release.get_future().wait();
    throw std::runtime_error("no\nmore");
  }));
  const auto token = std::make_shared<int>();
  const auto sourceOf = [](auto kept) { return new Listener([kept](auto&&...) {}); };
  std::vector<std::string> records[4];
  std::shared_ptr<Listener> listeners[4];
  for (int i = 0; i < 4; ++i) {
    listeners[i] = holdRef(new Listener([&, i](std::string const& topic, IBase* source, int value) {
      EXPECT_EQ(source != nullptr ? token.use_count() : 1, topic == "c" ? 2 : 1)
          << "it lives until it is delivered";
      records[i].push_back(topic + std::to_string(value));
    }));
  }
  auto const& [ofA, ofAll, late, ended] = listeners;
  dispatcher->subscribe(L"block", blocker.get());
  dispatcher->postEvent(L"block", nullptr, 0);
  reached.get_future().wait();
  EXPECT_EQ(dispatcher->subscribe(L"a", nullptr), -EINVAL);
  EXPECT_EQ(dispatcher->subscribe(L"a", ended.get()), 0);
  EXPECT_EQ(dispatcher->unsubscribe(L"b", ended.get()), PResult::notFound);
  EXPECT_EQ(dispatcher->unsubscribe(L"a", ended.get()), 0);
  EXPECT_EQ(dispatcher->unsubscribe(L"a", ended.get()), PResult::notFound);
  for (const wchar_t* topic : {L"", L"b"}) dispatcher->subscribe(topic, ofAll.get());
  EXPECT_EQ(dispatcher->subscribe(L"a", ofA.get()), 0);
  for (int i = 1; i <= 2; ++i) {
    for (const wchar_t* topic : {L"a", L"b"}) dispatcher->postEvent(topic, nullptr, i);
  }
  EXPECT_EQ(dispatcher->subscribe(L"", late.get()), 0);
  EXPECT_EQ(dispatcher->postEvent(L"c", sourceOf(token), 3), 0);
  release.set_value();
  dispatcher->close();  // delivers what is left, though it is still held
  EXPECT_EQ(dispatcher->postEvent(L"c", sourceOf(token), 4), -ENOBUFS);
  EXPECT_EQ(dispatcher->unsubscribe(L"a", ofA.get()), 0);
  dispatcher.reset();
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_THAT(log.lines(), ElementsAre("error test: a listener of `block' failed: no\\nmore"));
  EXPECT_THAT(records,
              ElementsAre(ElementsAre("a1", "a2"), ElementsAre("a1", "b1", "a2", "b2", "c3"),
                          ElementsAre("c3"), ElementsAre()));
  for (auto const& each : listeners) {
    EXPECT_EQ(each->incRef(), 2) << "only this test holds it";
    each->decRef();
  }
}

}  // namespace
