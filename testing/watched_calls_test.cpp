#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/notification_center.h"
#include "logging/log_stream.h"
#include "testing/describe.h"
#include "testing/environment.h"
#include "video/size.h"
#include "video/to_string.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Subscriber {
  virtual ~Subscriber() = default;
  void OnEvent(int /*value*/) {}
};

TEST(WatchedCalls, ShowSubscriptionsWithTheirKeysAndSubscribers) {
  Environment env;
  const auto subscriber = std::make_shared<Subscriber>();
  SetNameOf(*subscriber, "subscriber");
  core::SubscribeEvent<std::function<void(int)>>({5}, "event", core::Location("file", 1),
                                                 subscriber, &Subscriber::OnEvent);
  core::NotificationCenter::GetInstance().Publish<int>({5}, "event", 1);
  core::NotificationCenter::GetInstance().UnsubscribeEvent({5}, "event", subscriber);
  EXPECT_THAT(env.journal().Take(),
              ElementsAre("NotificationCenter.SubscribeEvent(5:event, subscriber)",
                          "NotificationCenter.UnsubscribeEvent(5:event, subscriber)"));
  EXPECT_FALSE(core::NotificationCenter::GetInstance().HasKey({5}, "event"));
}

TEST(WatchedCalls, CountTheTextsThatAreMadeAndShowNone) {
  Environment env;
  EXPECT_EQ(video::MirrorModeToString(video::MirrorMode::kEnabled), "kEnabled");
  EXPECT_EQ((video::Size{1, 2}.ToString()), "Size{1x2}");
  EXPECT_EQ(env.journal().Count(Journal::kText), 2u);
  EXPECT_THAT(env.journal().Take(), IsEmpty());
}

TEST(WatchedCalls, CountTheLinesThatBegin) {
  Environment env;
  LogStream("file", 1, "Function", 0, nullptr) << "text";
  EXPECT_EQ(env.journal().Count("LogStream"), 1u);
  EXPECT_EQ(env.journal().Count(Journal::kText), 1u);
  EXPECT_THAT(env.journal().Take(), ElementsAre("log(0) text"));
}

TEST(WatchedCalls, DoNotCountTheTextsOfADescribedCall) {
  Environment env;
  EXPECT_EQ(DescribeCall("renderer", "SetFillMode", video::FillMode::kFit),
            "renderer.SetFillMode(kFit)");
  EXPECT_EQ(env.journal().Count(Journal::kText), 0u);
}

TEST(WatchedCalls, GoOnWithoutAnybodyWhoListens) {
  EXPECT_EQ((video::Size{1, 2}.ToString()), "Size{1x2}");
}

}  // namespace
}  // namespace movra::testing
