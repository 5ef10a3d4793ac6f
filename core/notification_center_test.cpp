#include "core/notification_center.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "logging/recording_sink_for_test.h"

namespace core {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Handler = std::function<void(const std::string&, bool)>;

constexpr NotificationId kFocus{44};
constexpr Location kHere("some/file", 354);

static_assert(
    std::is_same_v<decltype(NotificationCenter::Observer::subscriber), std::weak_ptr<void>>);
static_assert(offsetof(NotificationCenter::Observer, subscriber) == 0);
static_assert(offsetof(NotificationCenter::Observer, callback) == 16);
static_assert(offsetof(NotificationCenter::Observer, location) == 32);
static_assert(kHere.line() == 354);
static_assert(NotificationId{} == NotificationId{0} && NotificationId{1} != NotificationId{2});

class Subscriber {
 public:
  Subscriber(std::vector<std::string>& events, std::string name)
      : events_(events), name_(std::move(name)) {}

  void OnFocus(const std::string& camera, bool enabled) {
    events_.push_back(name_ + ":" + camera + (enabled ? "+" : "-"));
    if (then) std::exchange(then, nullptr)();
  }
  void OnFocusOtherwise(const std::string& camera, bool /*enabled*/) {
    events_.push_back(name_ + " otherwise:" + camera);
  }

  std::function<void()> then;  // what the next handler does after it has told

 private:
  std::vector<std::string>& events_;
  const std::string name_;
};

class NotificationCenterTest : public ::testing::Test {
 protected:
  NotificationCenterTest() { center_.Clear(); }
  ~NotificationCenterTest() override { center_.Clear(); }

  std::shared_ptr<Subscriber> Make(const std::string& name) {
    return std::make_shared<Subscriber>(events_, name);
  }
  static void Subscribe(const std::shared_ptr<Subscriber>& subscriber,
                        const std::string& event = "") {
    SubscribeEvent<Handler>(kFocus, event, kHere, subscriber, &Subscriber::OnFocus);
  }
  void Unsubscribe(const std::weak_ptr<void>& subscriber, const std::string& event = "") {
    center_.UnsubscribeEvent(kFocus, event, subscriber);
  }
  void Publish(const std::string& camera, bool enabled = true, const std::string& event = "") {
    center_.Publish<const std::string&, bool>(kFocus, event, camera, enabled);
  }
  std::size_t Count(const std::string& event = "") { return center_.ObserverCount(kFocus, event); }

  NotificationCenter& center_ = NotificationCenter::GetInstance();
  std::vector<std::string> events_;
};

TEST_F(NotificationCenterTest, ThereIsOneRegistry) {
  EXPECT_EQ(&NotificationCenter::GetInstance(), &center_);
}

TEST_F(NotificationCenterTest, NoTwoPairsOfIdAndEventShareAKey) {
  const std::set<std::string> keys = {
      NotificationCenter::GenerateEventId({3}, ""),  NotificationCenter::GenerateEventId({3}, "3"),
      NotificationCenter::GenerateEventId({33}, ""), NotificationCenter::GenerateEventId({3}, ":"),
      NotificationCenter::GenerateEventId({-3}, ""), NotificationCenter::GenerateEventId({3}, "3:"),
      NotificationCenter::GenerateEventId({3}, "-")};
  EXPECT_EQ(keys.size(), 7u);
  EXPECT_EQ(NotificationCenter::GenerateEventId({3}, "a"),
            NotificationCenter::GenerateEventId({3}, "a"));
}

TEST_F(NotificationCenterTest, ASubscribedMemberIsCalledWithWhatIsPublished) {
  const auto subscriber = Make("a");
  Subscribe(subscriber);
  Publish("front", true);
  Publish("back", false);
  EXPECT_THAT(events_, ElementsAre("a:front+", "a:back-"));
}

TEST_F(NotificationCenterTest, AnObserverIsTheSubscriberTheCallbackAndTheLocation) {
  const auto subscriber = Make("a");
  Subscribe(subscriber);
  const auto observers = center_.Observers(kFocus, "");
  ASSERT_EQ(observers.size(), 1u);
  EXPECT_EQ(observers.front().subscriber.lock(), subscriber);
  EXPECT_EQ(subscriber.use_count(), 1) << "the subscriber is not kept alive";
  EXPECT_STREQ(observers.front().location.file(), "some/file");
  EXPECT_EQ(observers.front().location.line(), 354);
  (*std::static_pointer_cast<Handler>(observers.front().callback))("front", true);
  EXPECT_THAT(events_, ElementsAre("a:front+"));
}

TEST_F(NotificationCenterTest, ObserversAreCalledInTheOrderOfTheirSubscription) {
  const auto a = Make("a");
  const auto b = Make("b");
  Subscribe(b);
  Subscribe(a);
  Publish("x");
  EXPECT_THAT(events_, ElementsAre("b:x+", "a:x+"));
}

TEST_F(NotificationCenterTest, SubscribedTwiceItHasOneObserverWithTheFirstCallback) {
  const auto subscriber = Make("a");
  Subscribe(subscriber);
  SubscribeEvent<Handler>(kFocus, "", kHere, subscriber, &Subscriber::OnFocusOtherwise);
  EXPECT_EQ(Count(), 1u);
  Publish("x");
  EXPECT_THAT(events_, ElementsAre("a:x+"));
}

TEST_F(NotificationCenterTest, TwoEventNamesAreTwoKeys) {
  const auto subscriber = Make("a");
  Subscribe(subscriber);
  Subscribe(subscriber, "other");
  EXPECT_EQ(Count(), 1u);
  EXPECT_EQ(Count("other"), 1u);
  Publish("x", true, "other");
  EXPECT_THAT(events_, ElementsAre("a:x+"));
}

TEST_F(NotificationCenterTest, UnsubscribingLeavesTheOthersAndRemovesTheDead) {
  const auto a = Make("a");
  auto dead = Make("dead");
  const auto b = Make("b");
  Subscribe(a);
  Subscribe(dead);
  Subscribe(b);
  dead.reset();
  EXPECT_EQ(Count(), 3u) << "a dead observer stays until somebody unsubscribes";
  Unsubscribe(a);
  EXPECT_EQ(Count(), 1u);
  Publish("x");
  EXPECT_THAT(events_, ElementsAre("b:x+"));
}

TEST_F(NotificationCenterTest, UnsubscribingOneThatIsNotSubscribedRemovesTheDeadAllTheSame) {
  const auto a = Make("a");
  auto dead = Make("dead");
  Subscribe(a);
  Subscribe(dead);
  dead.reset();
  const auto stranger = Make("stranger");
  Unsubscribe(stranger);
  EXPECT_EQ(Count(), 1u);
}

TEST_F(NotificationCenterTest, UnsubscribingTheLastObserverRemovesTheKey) {
  const auto a = Make("a");
  Subscribe(a);
  EXPECT_TRUE(center_.HasKey(kFocus, ""));
  Unsubscribe(a);
  EXPECT_FALSE(center_.HasKey(kFocus, ""));
}

TEST_F(NotificationCenterTest, UnsubscribingWithAnExpiredOrEmptyReferenceChangesNothing) {
  auto gone = Make("gone");
  const std::weak_ptr<void> expired = gone;
  Subscribe(gone);
  gone.reset();
  Unsubscribe(expired);
  Unsubscribe({});
  EXPECT_EQ(Count(), 1u);
}

TEST_F(NotificationCenterTest, UnsubscribingFromAnUnknownKeyCreatesNone) {
  const auto a = Make("a");
  Unsubscribe(a, "unknown");
  EXPECT_FALSE(center_.HasKey(kFocus, "unknown"));
}

TEST_F(NotificationCenterTest, UnsubscribingFromOneEventKeepsTheOther) {
  const auto a = Make("a");
  Subscribe(a);
  Subscribe(a, "other");
  Unsubscribe(a, "other");
  EXPECT_EQ(Count(), 1u);
  EXPECT_FALSE(center_.HasKey(kFocus, "other"));
}

TEST_F(NotificationCenterTest, UnsubscribingDestroysTheCallback) {
  const auto a = Make("a");
  const auto held = std::make_shared<int>(0);
  center_.SubscribeEvent<Handler>(kFocus, "", kHere, a, [held](const std::string&, bool) {});
  EXPECT_EQ(held.use_count(), 2);
  Unsubscribe(a);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, ADuplicatesCallbackIsDropped) {
  const auto a = Make("a");
  const auto held = std::make_shared<int>(0);
  Subscribe(a);
  center_.SubscribeEvent<Handler>(kFocus, "", kHere, a, [held](const std::string&, bool) {});
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, ADeadSubscriberIsNotCalled) {
  auto a = Make("a");
  Subscribe(a);
  int calls = 0;
  auto raw = std::make_shared<int>(0);
  center_.SubscribeEvent<Handler>(kFocus, "", kHere, raw,
                                  [&](const std::string&, bool) { ++calls; });
  a.reset();
  raw.reset();
  Publish("x");
  EXPECT_THAT(events_, IsEmpty());
  EXPECT_EQ(calls, 0) << "whatever its callback is";
}

TEST_F(NotificationCenterTest, NobodyMaySubscribeOnceAndIsCalledAlways) {
  const auto subscribe = [&](const std::string& name) {
    center_.SubscribeEvent<Handler>(
        kFocus, "", kHere, std::weak_ptr<void>(),
        [this, name](const std::string& camera, bool) { events_.push_back(name + camera); });
  };
  subscribe("first:");
  subscribe("second:");
  EXPECT_EQ(Count(), 1u);
  Publish("x");
  EXPECT_THAT(events_, ElementsAre("first:x"));
  const auto a = Make("a");
  Subscribe(a);
  EXPECT_EQ(Count(), 2u) << "somebody is no duplicate of nobody";
  Unsubscribe(a);
  EXPECT_FALSE(center_.HasKey(kFocus, "")) << "nobody goes with the dead";
}

TEST_F(NotificationCenterTest, NobodyIsNotAddedNextToADeadSubscriber) {
  auto dead = Make("dead");
  Subscribe(dead);
  dead.reset();
  center_.SubscribeEvent<Handler>(kFocus, "", kHere, std::weak_ptr<void>(),
                                  [](const std::string&, bool) {});
  EXPECT_EQ(Count(), 1u);
  const auto alive = Make("alive");
  Subscribe(alive);
  EXPECT_EQ(Count(), 2u) << "a living one is";
}

TEST_F(NotificationCenterTest, AnExpiredSubscriberCountsAsNobody) {
  const auto alive = Make("alive");
  Subscribe(alive);
  auto gone = Make("gone");
  const std::weak_ptr<void> expired = gone;
  gone.reset();
  const auto subscribe = [&] {
    center_.SubscribeEvent<Handler>(kFocus, "", kHere, expired, [](const std::string&, bool) {});
  };
  subscribe();
  EXPECT_EQ(Count(), 2u);
  subscribe();
  EXPECT_EQ(Count(), 2u);
}

TEST_F(NotificationCenterTest, PublishingToAnUnknownKeyCallsNobodyAndCreatesNoKey) {
  Publish("x", true, "unknown");
  EXPECT_FALSE(center_.HasKey(kFocus, "unknown"));
  EXPECT_EQ(center_.ObserverCount(kFocus, "unknown"), 0u);
  EXPECT_TRUE(center_.Observers(kFocus, "unknown").empty());
}

TEST_F(NotificationCenterTest, AHandlerMayUnsubscribeItself) {
  const auto a = Make("a");
  const auto b = Make("b");
  Subscribe(a);
  Subscribe(b);
  a->then = [&] { Unsubscribe(a); };
  Publish("x");
  Publish("y");
  EXPECT_THAT(events_, ElementsAre("a:x+", "b:x+", "b:y+"));
}

TEST_F(NotificationCenterTest, ACallbackIsHeldWhileItRunsThoughItsObserverIsRemoved) {
  const auto a = Make("a");
  const auto held = std::make_shared<std::string>("still here");
  center_.SubscribeEvent<Handler>(kFocus, "", kHere, a, [&, held](const std::string&, bool) {
    Unsubscribe(a);
    events_.push_back(*held);
  });
  Publish("x");
  EXPECT_THAT(events_, ElementsAre("still here"));
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, OneSubscribedByAHandlerIsCalledTheNextTime) {
  const auto a = Make("a");
  const auto b = Make("b");
  Subscribe(a);
  a->then = [&] { Subscribe(b); };
  Publish("x");
  Publish("y");
  EXPECT_THAT(events_, ElementsAre("a:x+", "a:y+", "b:y+"));
}

TEST_F(NotificationCenterTest, OneThatDiesBeforeItsTurnIsNotCalled) {
  const auto a = Make("a");
  auto b = Make("b");
  Subscribe(a);
  Subscribe(b);
  a->then = [&] { b.reset(); };
  Publish("x");
  EXPECT_THAT(events_, ElementsAre("a:x+"));
}

TEST_F(NotificationCenterTest, ASubscriberIsHeldForTheLengthOfItsCall) {
  auto a = Make("a");
  Subscribe(a);
  const std::weak_ptr<Subscriber> weak = a;
  bool was_alive = false;
  a->then = [&] {
    a.reset();
    was_alive = !weak.expired();
  };
  Publish("x");
  EXPECT_TRUE(was_alive);
  EXPECT_TRUE(weak.expired());
}

TEST_F(NotificationCenterTest, EveryObserverGetsTheWholeArgument) {
  const auto a = Make("a");
  const auto b = Make("b");
  using ByValue = std::function<void(std::string)>;
  for (const auto& subscriber : {a, b}) {
    center_.SubscribeEvent<ByValue>({1}, "", kHere, subscriber, [this](std::string text) {
      events_.push_back(std::move(text));
    });
  }
  center_.Publish<std::string>({1}, "", "a text that does not fit into a small string");
  EXPECT_THAT(events_, ElementsAre("a text that does not fit into a small string",
                                   "a text that does not fit into a small string"));
}

TEST_F(NotificationCenterTest, AHandlerThatThrowsIsToldAndDetachedAndTheOthersAreCalled) {
  movra_logging::RecordingSink sink;
  const auto a = Make("a");
  const auto b = Make("b");
  Subscribe(a);
  Subscribe(b);
  a->then = [] { throw std::runtime_error("no camera"); };
  Publish("x");
  Publish("y");
  EXPECT_THAT(events_, ElementsAre("a:x+", "b:x+", "b:y+"));
  EXPECT_EQ(Count(), 1u);
  EXPECT_THAT(sink.texts(),
              ElementsAre("The notification handler of some/file:354 threw: no camera"));
}

TEST_F(NotificationCenterTest, TheLastHandlerThatThrowsTakesItsKeyAlong) {
  const auto a = Make("a");
  Subscribe(a);
  a->then = [] { throw 1; };
  Publish("x");
  EXPECT_FALSE(center_.HasKey(kFocus, ""));
  Subscribe(a);
  Publish("y");
  EXPECT_THAT(events_, ElementsAre("a:x+", "a:y+"));
}

TEST_F(NotificationCenterTest, AHandlerThatUnsubscribedItselfMayThrowAllTheSame) {
  const auto a = Make("a");
  Subscribe(a);
  a->then = [&] {
    Unsubscribe(a);
    throw 1;
  };
  Publish("x");
  EXPECT_FALSE(center_.HasKey(kFocus, ""));
}

TEST_F(NotificationCenterTest, AHandlerThatSubscribedAnewBeforeItThrewKeepsTheNewOne) {
  const auto a = Make("a");
  Subscribe(a);
  a->then = [&] {
    Unsubscribe(a);
    Subscribe(a);
    throw 1;
  };
  Publish("x");
  Publish("y");
  EXPECT_THAT(events_, ElementsAre("a:x+", "a:y+"));
}

// The signature is named and never deduced from the arguments: a deduced one could differ from
// the one the observers subscribed with.
template <class... A>
concept CanPublishWithoutNaming = requires(NotificationCenter& center, A... arguments) {
  center.Publish({1}, "", arguments...);
};
static_assert(CanPublishWithoutNaming<> && !CanPublishWithoutNaming<int>);

}  // namespace
}  // namespace core
