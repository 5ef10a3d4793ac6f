#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "media/encode/encode_for_test.h"
#include "media/encode/encoder_registry.h"
#include "video/pixel_frame_track.h"
#include "video/video_encoder_controller.h"

// Of builds without an encoder library.

namespace movra::media {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

TEST(NoH264Encoder, TheRegistryHasNoneAndSaysWhy) {
  const EncoderRegistry& registry = EncoderRegistry::OfThisBuild();
  EXPECT_EQ(registry.Find(video::VideoCodec::kH264), nullptr);
  EXPECT_THAT(registry.encoders(), SizeIs(0));
  EXPECT_THAT(registry.WhyNone(video::VideoCodec::kH264), HasSubstr("no H.264 encoder"));
}

TEST(NoH264Encoder, TheControllerSaysSoOnceAndItsTrackIsStillDrained) {
  ScopedMainLoop main_loop;
  const auto client = std::make_shared<RecordingClient>();
  const auto recorder = std::make_shared<PacketRecorder>();
  const auto track = video::IPixelFrameTrack::Create("test", 10);
  const auto controller = video::IVideoEncoderController::CreateVideoEncoderController(
      video::VideoContext(InstanceTrace(1), ""), video::VideoStreamType::kBig, client);
  controller->SetInputTrackReader(track->GetReader());
  controller->SetOutputTrackWriter(recorder);
  controller->Start();
  for (int i = 0; i < 3; ++i) track->GetWriter()->Write(PaintFrame({64, 48}, i));
  track->GetWriter()->WriteEnd(video::StreamEnd());
  recorder->WaitForEnd();
  main_loop.RunPosted();
  ASSERT_THAT(client->errors, SizeIs(1));
  EXPECT_EQ(client->errors[0].error, video::VideoEncoderError::kUnavailable);
  EXPECT_THAT(client->errors[0].text, HasSubstr("MOVRA_WITH_GPL"));
  EXPECT_EQ(controller->GetStats().record.frames_failed, 3U);
}

}  // namespace
}  // namespace movra::media
