// What applications use of the real parts, on doubles of the others.

#include <gtest/gtest.h>

#include "media/track/frame_pusher.h"
#include "testing/environment.h"
#include "video/pixel_frame_track.h"

TEST(PushOnDoubles, WritesIntoTheTrackDouble) {
  movra::testing::Environment env;
  const auto track = movra::video::IPixelFrameTrack::Create("pictures", 1);
  movra::media::FramePusher pusher(track->GetWriter());
  movra::video::PixelFrameInfo info;
  info.sequence = 7;
  EXPECT_TRUE(pusher.Push({info, std::make_shared<int>()}));
  EXPECT_EQ(env.journal().Count("pictures.writer.Write(frame 7)"), 1u);
}
