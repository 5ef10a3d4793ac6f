#include "video/video_types.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "video/camera_service.h"

namespace movra::video {
namespace {

template <class... Enum>
constexpr bool kAre32BitsWide = (std::is_same_v<std::underlying_type_t<Enum>, std::int32_t> && ...);

// Every 32-bit value is legal input, which only a fixed underlying type makes true.
static_assert(kAre32BitsWide<
              VideoStreamType, VideoProducerType, VideoSourceType, CameraDeviceState, ProducerMode,
              InterceptPosition, RenderEventReason, SnapshotSourceType, PixelFormat, BufferType,
              MirrorMode, VideoRotation, FillMode, GSensorMode, FrameAdaptiveMode, BeautyStyle,
              CapturerMode, VideoRenderError, VideoEncoderError, VideoScreenSharingError,
              VideoScreenSharingStoppedReason, VideoScreenSharingPausedReason,
              VideoScreenSharingResumedReason, VideoCodec, CameraListInterface::GetCameraListMode>);

template <class Enum>
int Number(Enum value) {
  return static_cast<int>(value);
}

TEST(VideoTypes, TheNumbersThatOtherComponentsAreBuiltAgainst) {
  EXPECT_EQ(Number(VideoStreamType::kBig), 0);
  EXPECT_EQ(Number(VideoStreamType::kSmall), 1);
  EXPECT_EQ(Number(VideoProducerType::kDefault), 0);
  EXPECT_EQ(Number(VideoSourceType::kNone), 0);
  EXPECT_EQ(Number(VideoSourceType::kCamera), 1);
  EXPECT_EQ(Number(VideoSourceType::kScreen), 2);
  EXPECT_EQ(Number(VideoSourceType::kVirtualCamera), 3);
  EXPECT_EQ(Number(VideoSourceType::kCustom), 4);
  EXPECT_EQ(Number(VideoSourceType::kMirroredScreen), 5);
  EXPECT_EQ(Number(CameraDeviceState::kAdded), 3);
  EXPECT_EQ(Number(CameraDeviceState::kRemoved), 4);
  EXPECT_EQ(Number(ProducerMode::kDefault), 0);
  EXPECT_EQ(Number(ProducerMode::kEncodeSize), 1);
  EXPECT_EQ(Number(ProducerMode::kLimitedSize), 2);
  EXPECT_EQ(Number(ProducerMode::kOwnSize), 3);
  EXPECT_EQ(Number(InterceptPosition::kCustomProcessing), 2);
  EXPECT_EQ(Number(InterceptPosition::kPreview), 3);
  EXPECT_EQ(Number(InterceptPosition::kPreviewWithWatermark), 4);
  EXPECT_EQ(Number(InterceptPosition::kEncoder), 5);
  EXPECT_EQ(Number(RenderEventReason::kFirstFrame), 1);
  EXPECT_EQ(Number(SnapshotSourceType::kPreprocessor), 0);
  EXPECT_EQ(Number(SnapshotSourceType::kLocalRenderer), 1);
  EXPECT_EQ(Number(PixelFormat::kNone), -1);
  EXPECT_EQ(Number(BufferType::kMemory), 0);
  EXPECT_EQ(Number(FrameAdaptiveMode::kCrop), 0);
  EXPECT_EQ(Number(FrameAdaptiveMode::kStretch), 1);
  EXPECT_EQ(Number(FrameAdaptiveMode::kFit), 2);
  EXPECT_EQ(Number(CameraListInterface::GetCameraListMode::kAll), 0);
}

TEST(VideoTypes, TheStatesOfADevice) {
  EXPECT_EQ(Number(CameraDeviceState::kUnknown), 0);
  EXPECT_EQ(Number(CameraDeviceState::kOpened), 1);
  EXPECT_EQ(Number(CameraDeviceState::kClosed), 2);
  EXPECT_EQ(Number(CameraDeviceState::kAdded), 3);
  EXPECT_EQ(Number(CameraDeviceState::kRemoved), 4);
}

TEST(VideoTypes, TheNumbersOfScreensAndRenderers) {
  EXPECT_EQ(Number(CapturerMode::kUnknown), 0);
  EXPECT_EQ(Number(CapturerMode::kDisplay), 1);
  EXPECT_EQ(Number(CapturerMode::kWindow), 2);
  EXPECT_EQ(Number(CapturerMode::kRegion), 3);
  EXPECT_EQ(Number(CapturerMode::kComposed), 4);
  EXPECT_EQ(Number(VideoRenderError::kNone), 0);
  EXPECT_EQ(Number(VideoRenderError::kNoDisplay), 1);
  EXPECT_EQ(Number(VideoRenderError::kViewLost), 2);
  EXPECT_EQ(Number(VideoScreenSharingError::kNoDisplay), 4);
  EXPECT_EQ(Number(VideoScreenSharingError::kNotPermitted), 5);
  EXPECT_EQ(Number(VideoScreenSharingStoppedReason::kMonitorGone), 3);
  EXPECT_EQ(Number(VideoScreenSharingPausedReason::kByRequest), 0);
  EXPECT_EQ(Number(VideoScreenSharingPausedReason::kMinimised), 1);
  EXPECT_EQ(Number(VideoScreenSharingResumedReason::kByRequest), 0);
  EXPECT_EQ(Number(VideoScreenSharingResumedReason::kRestored), 1);
}

TEST(VideoTypes, TheIdsOfTheCameraService) {
  EXPECT_EQ(kCameraServiceId.value, 9);
  EXPECT_EQ(kCameraDeviceStateNotification.value, 3);
  EXPECT_EQ(kCameraAutoFocusNotification.value, 44);
}

}  // namespace
}  // namespace movra::video
