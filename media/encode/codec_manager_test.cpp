#include "media/encode/codec_manager.h"

#include <gtest/gtest.h>

#include "media/encode/frame_encoder.h"
#include "video/video_encoder_controller.h"
#include "video/video_types.h"

namespace movra::media {
namespace {

constexpr int kH264 = static_cast<int>(video::VideoCodec::kH264);

TEST(CodecManager, WithTheLibraryItEncodesH264OnTheProcessorWithRegions) {
  CodecManager manager(true);
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264), 1);
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264 + 1), 0);
  EXPECT_EQ(manager.IsHardwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsRoiSupported(), 1);
  EXPECT_EQ(manager.IsReferenceSelectionSupported(), 0);
}

TEST(CodecManager, WithoutTheLibraryItEncodesNothing) {
  CodecManager manager(false);
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsRoiSupported(), 0);
}

TEST(CodecManager, TheInstanceIsOneAndTellsOfThisBuild) {
  video::IVideoCodecManager& instance = video::IVideoCodecManager::GetInstance();
  EXPECT_EQ(&instance, &video::IVideoCodecManager::GetInstance());
  EXPECT_EQ(instance.IsSoftwareEncoderSupported(kH264), HasH264Encoder() ? 1 : 0);
}

TEST(CodecManager, EncodersWantI420InMemory) {
  const video::PixelFrameFormat format =
      video::IVideoEncoderController::QueryInputPixelFormat(video::VideoStreamType::kSmall, {});
  EXPECT_EQ(format.pixel_format, video::PixelFormat::kI420);
  EXPECT_EQ(format.buffer_type, video::BufferType::kMemory);
}

}  // namespace
}  // namespace movra::media
