// What a record says that nobody filled in. Collaborators and applications rely on it: zero stands
// for "not known", "as it is" or "none".

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstring>

#include "video/camera_service.h"
#include "video/capture_params.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/green_screen_params.h"
#include "video/pixel_frame.h"
#include "video/screen_source_info.h"
#include "video/stats.h"
#include "video/video_device_info.h"
#include "video/video_frame_track.h"

namespace movra::video {
namespace {

using std::chrono::nanoseconds;

TEST(RecordDefaults, ALiveFrameWithoutPlanesAtTimeZero) {
  const PixelFrameInfo info;
  EXPECT_EQ(PixelFrameInfo::kMaxPlanes, 3U);
  for (const PixelPlane& plane : info.planes) {
    EXPECT_EQ(plane.data, nullptr);
    EXPECT_EQ(plane.stride, 0);
  }
  EXPECT_EQ(info.delivery, FrameDelivery::kLive);
  EXPECT_EQ(info.timestamp, nanoseconds(0));
  EXPECT_EQ(info.capture_time, nanoseconds(0));
  EXPECT_EQ(info.sequence, 0U);
  EXPECT_EQ(info.damaged_frames, 0U);
  EXPECT_EQ(static_cast<int>(FrameDelivery::kLive), 0);
  EXPECT_EQ(static_cast<int>(FrameDelivery::kLossless), 1);
}

TEST(RecordDefaults, ANaturalEnd) {
  const StreamEnd end;
  EXPECT_EQ(end.error_code, 0);
  EXPECT_EQ(end.damaged_frames, 0U);
}

TEST(RecordDefaults, AnEncodedFrameOfNothing) {
  const EncodedFrame frame;
  EXPECT_EQ(frame.size_bytes, 0U);
  EXPECT_FALSE(frame.key_frame);
  EXPECT_EQ(frame.timestamp, nanoseconds(0));
  EXPECT_EQ(frame.duration, nanoseconds(0));
  EXPECT_EQ(frame.capture_time, nanoseconds(0));
  EXPECT_EQ(frame.encode_time, nanoseconds(0));
  EXPECT_EQ(frame.sequence, 0U);
  EXPECT_EQ(frame.damaged_frames, 0U);
  EXPECT_EQ(frame.number, 0U);
  EXPECT_EQ(frame.temporal_layer, 0);
  EXPECT_TRUE(frame.referenced);
}

TEST(RecordDefaults, RegionsAndAcknowledgementsOfZero) {
  EXPECT_EQ(Region(), (Region{0, 0, 0, 0}));
  EXPECT_EQ(RoiConfigInfo(), (RoiConfigInfo{0, 0, 0, 0, 0}));
  const RpsAck ack;
  EXPECT_EQ(ack.receive_time_ms, 0U);
  EXPECT_EQ(ack.ack_value, 0);
  EXPECT_EQ(ack.ack_flag, 0);
  EXPECT_EQ(VideoCoverImageParams().image_option, 0);
}

TEST(RecordDefaults, ACameraOfWhichNothingIsKnown) {
  const CameraInfo info;
  EXPECT_EQ(info.error_code, 0);
  EXPECT_EQ(info.rate_numerator, 0);
  EXPECT_EQ(info.rate_denominator, 1);
  EXPECT_EQ(info.duration, nanoseconds(0));
  EXPECT_EQ(info.traits, SourceTraits());
  EXPECT_FALSE(info.traits.has_end || info.traits.keeps_time);
  EXPECT_FALSE(info.traits.rate_is_fixed || info.traits.replayable);
  EXPECT_FALSE(info.has_audio || info.is_interlaced);
  EXPECT_FALSE(info.has_alpha || info.is_hdr);
  const CaptureEnd end;
  EXPECT_EQ(end.kind, CaptureEndKind::kEnded);
  EXPECT_EQ(end.error_code, 0);
  EXPECT_EQ(end.damaged_frames, 0U);
  EXPECT_EQ(static_cast<int>(CameraListInterface::GetCameraListMode::kAll), 0);
  EXPECT_EQ(static_cast<int>(CameraListInterface::GetCameraListMode::kPhysical), 1);
  EXPECT_EQ(VideoDeviceInfo().capabilities, 0U);
  const ScreenSource source;
  EXPECT_EQ(source.id, 0);
  EXPECT_EQ(source.kind, 0);
  EXPECT_FALSE(source.minimised);
}

TEST(RecordDefaults, StatisticsThatHaveCountedNothing) {
  const EncoderStatsRecord nothing{};
  const std::array<std::byte, sizeof nothing> zero{};
  EXPECT_EQ(std::memcmp(&nothing, zero.data(), sizeof nothing), 0);
  EXPECT_EQ(RendererStats().frames_rendered, 0U);
  EXPECT_EQ(RendererStats().frames_dropped, 0U);
  const VideoProducerStats2 stats;
  EXPECT_EQ(stats.capture_stat, 0U);
  EXPECT_EQ(stats.preprocess_stat, 0U);
  EXPECT_EQ(stats.render_stat, 0U);
}

TEST(RecordDefaults, ProcessingThatIsOff) {
  const CustomProcessParams params;
  EXPECT_EQ(params.width, 0);
  EXPECT_EQ(params.height, 0);
  EXPECT_EQ(params.reserved, 0);
  EXPECT_FALSE(params.enabled);
  EXPECT_TRUE(params == CustomProcessParams());
  EXPECT_TRUE(PixelFrameFormat() == PixelFrameFormat());
  const GreenScreenParams screen;
  EXPECT_FALSE(screen.enabled);
  EXPECT_EQ(screen.key_color, 0x00FF00U);
  EXPECT_FLOAT_EQ(screen.similarity, 0.4F);
  EXPECT_FLOAT_EQ(screen.smoothness, 0.1F);
}

}  // namespace
}  // namespace movra::video
