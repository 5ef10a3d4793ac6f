#include "video/event_msg.h"

#include <gtest/gtest.h>

namespace movra::video {
namespace {

TEST(EventMsg, KeepsItsTextInTheFirstOfItsStrings) {
  const EventMsg message("event=something");
  EXPECT_EQ(message.text, "event=something");
  EXPECT_EQ(message.detail, "");
}

TEST(EventMsg, TellsOfTheFirstFrame) {
  EXPECT_EQ(MakeRenderFirstFrameEventMsg(640, 360).text,
            "event=render_first_frame width=640 height=360");
}

TEST(EventMsg, TellsOfTheFirstFrameInAView) {
  EXPECT_EQ(MakeRenderFirstFrameInViewEventMsg(360, 4294967295u).text,
            "event=render_first_frame_in_view width=360 height=4294967295");
}

TEST(EventMsg, TellsOfAChangedEncoderProperty) {
  const EncoderProperty property{1, (std::int64_t{1280} << 32) | 720, "libx264"};
  EXPECT_EQ(
      GetEncodePropertyChangedBaseMsg(VideoStreamType::kSmall, property),
      "event=encode_property_changed stream=kSmall codec=1 size=1280x720 implementation=libx264");
}

TEST(EventMsg, PrintsAllBitsOfASize) {
  EXPECT_EQ(GetEncodePropertyChangedBaseMsg(VideoStreamType::kBig, {-1, -1, ""}),
            "event=encode_property_changed stream=kBig codec=-1 size=4294967295x4294967295 "
            "implementation=");
}

}  // namespace
}  // namespace movra::video
