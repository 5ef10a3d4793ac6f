#include "video/video_loggable.h"

#include <gtest/gtest.h>

#include <memory>

namespace movra::video {
namespace {

TEST(VideoContext, AppendsToTheEndOfItsTag) {
  VideoContext context(InstanceTrace(7), "[call]");
  context.AppendLogTagToBack("[main]");
  EXPECT_EQ(context.log_tag(), "[call][main]");
  EXPECT_EQ(context.trace(), InstanceTrace(7));
}

TEST(VideoContext, AppendingActsOnThatCopyAlone) {
  const VideoContext original(InstanceTrace(7), "[call]");
  VideoContext copy = original;
  copy.AppendLogTagToBack("[main]");
  EXPECT_EQ(original.log_tag(), "[call]");
}

class Named : public VideoLoggable {
 public:
  using VideoLoggable::VideoLoggable;
  void Append(const std::string& tag) { context().AppendLogTagToBack(tag); }
};

TEST(VideoLoggable, NamesItsOwnCopyOfTheContext) {
  const VideoContext context(InstanceTrace(7), "[call]");
  Named named(context);
  named.Append("[sub]");
  EXPECT_EQ(named.GetTraceId(), InstanceTrace(7));
  EXPECT_EQ(named.GetLogTag(), "[call][sub]");
  EXPECT_EQ(context.log_tag(), "[call]");
}

TEST(VideoLoggable, DestroysTheWholeObject) {
  struct Watched : Named {
    explicit Watched(std::shared_ptr<int> token)
        : Named(VideoContext(InstanceTrace(), "")), token_(std::move(token)) {}
    std::shared_ptr<int> token_;
  };
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> watch = token;
  std::unique_ptr<VideoLoggable> loggable = std::make_unique<Watched>(std::move(token));
  EXPECT_FALSE(watch.expired());
  loggable.reset();
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace movra::video
