// Records cross between components that are built apart, so where their fields lie is part of the
// interface. Offsets are those of the Itanium ABI with 64-bit pointers and libstdc++'s types.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "video/capture_params.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/size.h"
#include "video/stats.h"
#include "video/video_device_info.h"

namespace movra::video {
namespace {

template <class Record, class Field>
std::size_t Offset(Field Record::*field) {
  const Record record{};
  return static_cast<std::size_t>(reinterpret_cast<const std::byte*>(&(record.*field)) -
                                  reinterpret_cast<const std::byte*>(&record));
}

static_assert(sizeof(std::string) == 32 && sizeof(std::shared_ptr<int>) == 16,
              "the offsets below are those of libstdc++ on a 64-bit machine");

TEST(RecordLayout, AnOptionalIsAFlagOfOneByteAndThenItsValue) {
  EXPECT_EQ(sizeof(movra_base::Optional<bool>), 2u);
  EXPECT_EQ(sizeof(movra_base::Optional<std::int32_t>), 8u);
  EXPECT_EQ(sizeof(movra_base::Optional<std::int64_t>), 16u);
  EXPECT_EQ(sizeof(movra_base::Optional<Region>), 20u);
  EXPECT_EQ(sizeof(movra_base::Optional<std::shared_ptr<int>>), 24u);
  const movra_base::Optional<std::int32_t> value = 5;
  const auto* bytes = reinterpret_cast<const std::byte*>(&value);
  EXPECT_EQ(bytes[0], std::byte{1});
  std::int32_t stored = 0;
  std::memcpy(&stored, bytes + 4, sizeof(stored));
  EXPECT_EQ(stored, 5);
}

TEST(RecordLayout, Size) {
  EXPECT_EQ(Offset(&Size::width), 0u);
  EXPECT_EQ(Offset(&Size::height), 4u);
  EXPECT_EQ(sizeof(Size), 8u);
}

TEST(RecordLayout, CameraParams) {
  EXPECT_EQ(Offset(&CameraParams::camera_id), 0u);
  EXPECT_EQ(Offset(&CameraParams::facing), 32u);
  EXPECT_EQ(Offset(&CameraParams::orientation), 36u);
  EXPECT_EQ(Offset(&CameraParams::frame_rate), 44u);
  EXPECT_EQ(Offset(&CameraParams::width), 52u);
  EXPECT_EQ(Offset(&CameraParams::height), 60u);
  EXPECT_EQ(Offset(&CameraParams::cover_image), 72u);
  EXPECT_EQ(sizeof(CameraParams), 96u);
}

TEST(RecordLayout, DesktopScreenParams) {
  EXPECT_EQ(Offset(&DesktopScreenParams::frame_rate), 0u);
  EXPECT_EQ(Offset(&DesktopScreenParams::source_id), 8u);
  EXPECT_EQ(Offset(&DesktopScreenParams::region), 24u);
  EXPECT_EQ(Offset(&DesktopScreenParams::source_kind), 44u);
  EXPECT_EQ(Offset(&DesktopScreenParams::capture_cursor), 52u);
  EXPECT_EQ(Offset(&DesktopScreenParams::capture_children), 54u);
  EXPECT_EQ(Offset(&DesktopScreenParams::show_border), 56u);
  EXPECT_EQ(Offset(&DesktopScreenParams::border_color), 60u);
  EXPECT_EQ(Offset(&DesktopScreenParams::border_width), 68u);
  EXPECT_EQ(Offset(&DesktopScreenParams::exclude_own_windows), 76u);
  EXPECT_EQ(Offset(&DesktopScreenParams::capture_covered), 78u);
  EXPECT_EQ(Offset(&DesktopScreenParams::activate_window), 80u);
  EXPECT_EQ(Offset(&DesktopScreenParams::high_dpi), 82u);
  EXPECT_EQ(sizeof(DesktopScreenParams), 88u);
}

TEST(RecordLayout, MobileScreenParams) {
  EXPECT_EQ(Offset(&MobileScreenParams::frame_rate), 0u);
  EXPECT_EQ(Offset(&MobileScreenParams::landscape), 8u);
  EXPECT_EQ(Offset(&MobileScreenParams::region), 12u);
  EXPECT_EQ(sizeof(MobileScreenParams), 32u);
}

TEST(RecordLayout, VideoCoverImageParams) {
  EXPECT_EQ(Offset(&VideoCoverImageParams::image), 0u);
  EXPECT_EQ(Offset(&VideoCoverImageParams::image_option), 16u);
}

TEST(RecordLayout, VideoDeviceInfo) {
  EXPECT_EQ(Offset(&VideoDeviceInfo::device_id), 0u);
  EXPECT_EQ(Offset(&VideoDeviceInfo::name), 32u);
  EXPECT_EQ(Offset(&VideoDeviceInfo::driver), 64u);
  EXPECT_EQ(Offset(&VideoDeviceInfo::capabilities), 96u);
  EXPECT_EQ(sizeof(VideoDeviceInfo), 104u);
}

TEST(RecordLayout, EncodeParamsBeginWithWhatTheProducerReads) {
  EXPECT_EQ(Offset(&EncodeParams::width), 0u);
  EXPECT_EQ(Offset(&EncodeParams::height), 8u);
  EXPECT_EQ(Offset(&EncodeParams::frame_rate), 16u);
}

TEST(RecordLayout, CustomProcessParams) {
  EXPECT_EQ(Offset(&CustomProcessParams::width), 0u);
  EXPECT_EQ(Offset(&CustomProcessParams::height), 4u);
  EXPECT_EQ(Offset(&CustomProcessParams::enabled), 8u);
  EXPECT_EQ(Offset(&CustomProcessParams::buffer_type), 12u);
  EXPECT_EQ(Offset(&CustomProcessParams::pixel_format), 16u);
  EXPECT_EQ(Offset(&CustomProcessParams::reserved), 20u);
  EXPECT_EQ(Offset(&CustomProcessParams::stream_type), 24u);
  EXPECT_EQ(sizeof(CustomProcessParams), 28u);
}

TEST(RecordLayout, PixelFrameFormat) {
  EXPECT_EQ(Offset(&PixelFrameFormat::buffer_type), 0u);
  EXPECT_EQ(Offset(&PixelFrameFormat::pixel_format), 4u);
}

TEST(RecordLayout, EncoderProperty) {
  EXPECT_EQ(Offset(&EncoderProperty::codec), 0u);
  EXPECT_EQ(Offset(&EncoderProperty::size), 8u);
  EXPECT_EQ(Offset(&EncoderProperty::implementation), 16u);
  EXPECT_EQ(sizeof(EncoderProperty), 48u);
}

TEST(RecordLayout, EncodeAbilityIsFourBytesInThisOrder) {
  const EncodeAbility ability{1, 2, 3, 4};
  std::array<unsigned char, 4> bytes{};
  static_assert(sizeof(ability) == sizeof(bytes));
  std::memcpy(bytes.data(), &ability, sizeof(ability));
  EXPECT_EQ(bytes, (std::array<unsigned char, 4>{1, 2, 3, 4}));
  EXPECT_EQ(ability.roi, 1);
  EXPECT_EQ(ability.reference_selection, 2);
  EXPECT_EQ(ability.software_encoder, 3);
  EXPECT_EQ(ability.hardware_encoder, 4);
}

TEST(RecordLayout, RpsAckBeginsWithAFieldThatStaysBehind) {
  EXPECT_EQ(Offset(&RpsAck::ack_value), 8u);
  EXPECT_EQ(Offset(&RpsAck::ack_flag), 12u);
  EXPECT_EQ(sizeof(RpsAck), 16u);
}

TEST(RecordLayout, RoiConfigInfo) {
  EXPECT_EQ(Offset(&RoiConfigInfo::x), 0u);
  EXPECT_EQ(Offset(&RoiConfigInfo::y), 4u);
  EXPECT_EQ(Offset(&RoiConfigInfo::width), 8u);
  EXPECT_EQ(Offset(&RoiConfigInfo::height), 12u);
  EXPECT_EQ(Offset(&RoiConfigInfo::qp_delta), 16u);
  EXPECT_EQ(sizeof(RoiConfigInfo), 20u);
}

TEST(RecordLayout, Statistics) {
  EXPECT_EQ(Offset(&VideoProducerStats2::capture_stat), 0u);
  EXPECT_EQ(Offset(&VideoProducerStats2::preprocess_stat), 4u);
  EXPECT_EQ(Offset(&VideoProducerStats2::encoder_stats), 8u);
  EXPECT_EQ(Offset(&VideoProducerStats2::render_stat), 68u);
  EXPECT_EQ(sizeof(VideoProducerStats2), 72u);
  EXPECT_EQ(Offset(&EncoderStats::record), 0u);
  EXPECT_EQ(sizeof(EncoderStatsRecord), 60u);
  EXPECT_EQ(Offset(&RendererStats::frames_rendered), 0u);
}

TEST(RecordLayout, PlainRecordsAreCopiedBytewise) {
  EXPECT_TRUE(std::is_trivially_copyable_v<EncoderStatsRecord>);
  EXPECT_TRUE(std::is_trivially_copyable_v<VideoProducerStats2>);
  EXPECT_TRUE(std::is_trivially_copyable_v<RoiConfigInfo>);
  EXPECT_TRUE(std::is_trivially_copyable_v<EncodeAbility>);
  EXPECT_TRUE(std::is_trivially_copyable_v<CustomProcessParams>);
}

}  // namespace
}  // namespace movra::video
