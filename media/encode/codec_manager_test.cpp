#include "media/encode/codec_manager.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "media/encode/encoder_registry.h"
#include "video/video_encoder_controller.h"
#include "video/video_types.h"

namespace movra::media {
namespace {

constexpr int kH264 = static_cast<int>(video::VideoCodec::kH264);

EncoderEntry Entry(EncoderAbilities abilities, const std::string& why_unusable = "") {
  EncoderEntry entry;
  entry.codec = video::VideoCodec::kH264;
  entry.probe = [why_unusable] { return why_unusable; };
  entry.abilities = abilities;
  return entry;
}

CodecManager ManagerOf(std::vector<EncoderEntry> entries) {
  return CodecManager(EncoderRegistry({std::move(entries), {}}));
}

TEST(CodecManager, AnEncoderOnTheProcessorIsOneOfItsCodecAlone) {
  CodecManager manager = ManagerOf({Entry({.regions = true})});
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264), 1);
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264 + 1), 0);
  EXPECT_EQ(manager.IsHardwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsRoiSupported(), 1);
  EXPECT_EQ(manager.IsReferenceSelectionSupported(), 0);
}

TEST(CodecManager, AnEncoderOnGraphicsHardwareIsNoneOnTheProcessor) {
  CodecManager manager = ManagerOf({Entry({.hardware = true, .reference_selection = true})});
  EXPECT_EQ(manager.IsHardwareEncoderSupported(kH264), 1);
  EXPECT_EQ(manager.IsHardwareEncoderSupported(kH264 + 1), 0);
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsRoiSupported(), 0);
  EXPECT_EQ(manager.IsReferenceSelectionSupported(), 1);
}

TEST(CodecManager, AnEncoderThatCannotBeUsedHereCountsForNothing) {
  CodecManager manager = ManagerOf({Entry({.regions = true, .reference_selection = true}, "no"),
                                    Entry({.hardware = true}, "no")});
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsHardwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsRoiSupported(), 0);
  EXPECT_EQ(manager.IsReferenceSelectionSupported(), 0);
}

TEST(CodecManager, WithoutEncodersItEncodesNothing) {
  CodecManager manager = ManagerOf({});
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(kH264), 0);
  EXPECT_EQ(manager.IsRoiSupported(), 0);
}

TEST(CodecManager, TheInstanceIsOneAndTellsOfThisBuild) {
  video::IVideoCodecManager& instance = video::IVideoCodecManager::GetInstance();
  EXPECT_EQ(&instance, &video::IVideoCodecManager::GetInstance());
  const bool has_h264 = !EncoderRegistry::OfThisBuild().encoders().empty();
  EXPECT_EQ(instance.IsSoftwareEncoderSupported(kH264), has_h264 ? 1 : 0);
  EXPECT_EQ(instance.IsRoiSupported(), has_h264 ? 1 : 0);
}

TEST(CodecManager, EncodersWantI420InMemory) {
  const video::PixelFrameFormat format =
      video::IVideoEncoderController::QueryInputPixelFormat(video::VideoStreamType::kSmall, {});
  EXPECT_EQ(format.pixel_format, video::PixelFormat::kI420);
  EXPECT_EQ(format.buffer_type, video::BufferType::kMemory);
}

}  // namespace
}  // namespace movra::media
