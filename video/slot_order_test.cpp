// Collaborators and callers are built apart and meet in the virtual tables, so the order of every
// table is part of its interface. How slots are read is told in testing/slot_order.h.

#include "testing/slot_order.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "logging/log_filter.h"
#include "video/camera_service.h"
#include "video/pixel_frame_track.h"
#include "video/screen_sharing.h"
#include "video/video_codec_manager.h"
#include "video/video_encoder_controller.h"
#include "video/video_loggable.h"
#include "video/video_preprocessor.h"
#include "video/video_renderer_controller.h"

namespace movra::video {
namespace {

using testing::DestructorStands;
using testing::ExpectSlots;
using Image = std::shared_ptr<ObjcWrapper<NSImage>>;
using SnapshotCallback = movra_base::OnceCallback<void(Image)>;

TEST(SlotOrder, Preprocessor) {
  using I = IVideoPreprocessor2;
  ExpectSlots<I>(DestructorStands::kLast,
                 {
                     MOVRA_SLOT(StartProcessing, void()),
                     MOVRA_SLOT(SetInputTrackReader, void(std::weak_ptr<IPixelFrameTrackReader>)),
                     MOVRA_SLOT(AddInterceptor, void(InterceptPosition, const CustomProcessParams&,
                                                     std::weak_ptr<VideoInterceptorListener>)),
                     MOVRA_SLOT(RemoveInterceptor, void(std::weak_ptr<VideoInterceptorListener>)),
                     MOVRA_SLOT(AddOutputTrack, void(InterceptPosition, const CustomProcessParams&,
                                                     std::weak_ptr<IPixelFrameTrackWriter>)),
                     MOVRA_SLOT(RemoveOutputTrack, void(std::weak_ptr<IPixelFrameTrackWriter>)),
                     MOVRA_SLOT(StopProcessing, void()),
                     MOVRA_SLOT(GetStats, std::uint32_t()),
                     MOVRA_SLOT(Snapshot, void(SnapshotCallback)),
                     MOVRA_SLOT(SetBeautyStyle, void(BeautyStyle)),
                     MOVRA_SLOT(SetBeautyLevel, void(float)),
                     MOVRA_SLOT(SetWhitenessLevel, void(float)),
                     MOVRA_SLOT(SetRuddyLevel, void(float)),
                     MOVRA_SLOT(SetLUTColorFilter, void(Image)),
                     MOVRA_SLOT(SetLUTColorFilterStrength, void(float)),
                     MOVRA_SLOT(SetLUTColorFilter, void(Image, float, Image, float, float)),
                     MOVRA_SLOT(SetGreenScreenParams, void(const GreenScreenParams&)),
                     MOVRA_SLOT(SetWatermark, void(Image, double, double, double, bool)),
                     MOVRA_SLOT(SetCoverImageParams, void(std::shared_ptr<VideoCoverImageParams>)),
                     MOVRA_SLOT(SetSourceType, void(VideoSourceType)),
                     MOVRA_SLOT(SetProducerMode, void(ProducerMode)),
                     MOVRA_SLOT(SetFrameAdaptiveFlag, void(bool)),
                     MOVRA_SLOT(SetMirror, void(MirrorMode)),
                     MOVRA_SLOT(SetRotation, void(VideoRotation)),
                     MOVRA_SLOT(SetEncoderMirror, void(bool)),
                     MOVRA_SLOT(SetEncoderOutputSize, void(int, int)),
                     MOVRA_SLOT(SetEncoderRotation, void(VideoRotation)),
                     MOVRA_SLOT(SetFrameAdaptiveMode, void(FrameAdaptiveMode)),
                     MOVRA_SLOT(SetGSensorMode, void(GSensorMode)),
                 });
}

TEST(SlotOrder, ScreenSharing) {
  using I = IScreenSharing;
  ExpectSlots<I>(DestructorStands::kFirst,
                 {
                     MOVRA_SLOT(AddOutputWriter, void(std::shared_ptr<IPixelFrameTrackWriter>)),
                     MOVRA_SLOT(RemoveOutputWriter, void(std::shared_ptr<IPixelFrameTrackWriter>)),
                     MOVRA_SLOT(StartDesktopCapture, void(const DesktopScreenParams&)),
                     MOVRA_SLOT(StartMobileCapture, void(const MobileScreenParams&)),
                     MOVRA_SLOT(Stop, void()),
                     MOVRA_SLOT(UpdateDesktopScreenParams, void(const DesktopScreenParams&)),
                     MOVRA_SLOT(UpdateMobileScreenParams, void(const MobileScreenParams&)),
                     MOVRA_SLOT(Pause, void()),
                     MOVRA_SLOT(Resume, void()),
                     MOVRA_SLOT(SetClient, void(std::shared_ptr<IScreenSharing::Client>)),
                     MOVRA_SLOT(GetCaptureStat, std::uint32_t()),
                     MOVRA_SLOT(AddExcludedShareWindow, void(long)),
                     MOVRA_SLOT(RemoveExcludedShareWindow, void(long)),
                     MOVRA_SLOT(RemoveAllExcludedShareWindow, void()),
                     MOVRA_SLOT(AddIncludedShareWindow, void(long)),
                     MOVRA_SLOT(RemoveIncludedShareWindow, void(long)),
                     MOVRA_SLOT(RemoveAllIncludedShareWindow, void()),
                 });
}

TEST(SlotOrder, ScreenSharingClient) {
  using I = IScreenSharing::Client;
  ExpectSlots<I>(
      DestructorStands::kFirst,
      {
          MOVRA_SLOT(OnScreenSharingError, void(long, VideoScreenSharingError)),
          MOVRA_SLOT(OnScreenSharingStarted, void(long)),
          MOVRA_SLOT(OnScreenSharingStopped, void(long, VideoScreenSharingStoppedReason)),
          MOVRA_SLOT(OnScreenSharingPaused, void(long, VideoScreenSharingPausedReason)),
          MOVRA_SLOT(OnScreenSharingResumed, void(long, VideoScreenSharingResumedReason)),
          MOVRA_SLOT(OnScreenSharingFirstFrame, void(long, long long)),
          MOVRA_SLOT(OnWindowCovered, void(long)),
          MOVRA_SLOT(OnScreenSharingWindowSizeChanged, void(long, const Size&)),
          MOVRA_SLOT(OnCapturerModeChange, void(long, CapturerMode, CapturerMode)),
      });
}

TEST(SlotOrder, CameraService) {
  using I = ICameraService;
  ExpectSlots<I>(
      DestructorStands::kFirst,
      {
          MOVRA_SLOT(GetSelf, std::shared_ptr<ICameraService>()),
          MOVRA_SLOT(Init, void()),
          MOVRA_SLOT(StartCapture,
                     void(int, const CameraParams&, std::shared_ptr<IPixelFrameTrackWriter>,
                          movra_base::OnceCallback<void(int, int)>&&)),
          MOVRA_SLOT(StopCapture, void(const CameraParams&, std::shared_ptr<IPixelFrameTrackWriter>,
                                       movra_base::OnceCallback<void()>&&)),
          MOVRA_SLOT(UpdateCaptureParams, void(const CameraParams&)),
          MOVRA_SLOT(GetCaptureStat, std::uint32_t(const CameraParams&)),
          // One of the service's own, and one that was.
          MOVRA_SLOT(DescribeCamera,
                     void(const std::string&, movra_base::OnceCallback<void(CameraInfo)>&&)),
          MOVRA_SLOT(ReservedForPlayback, void()),
          MOVRA_SLOT(IsAutoFocusEnabled, bool()),
          MOVRA_SLOT(FocusAtPoint, void(float, float)),
      });
}

TEST(SlotOrder, RendererController) {
  using I = IVideoRendererController;
  ExpectSlots<I>(
      DestructorStands::kFirst,
      {
          MOVRA_SLOT(Start, void()),
          MOVRA_SLOT(Stop, void(bool)),
          MOVRA_SLOT(SetInputTrack, void(std::shared_ptr<IPixelFrameTrackReader>)),
          MOVRA_SLOT(SetView, void(std::shared_ptr<ObjcWrapper<NSView>>)),
          MOVRA_SLOT(SetFillMode, void(FillMode)),
          MOVRA_SLOT(SetBackgroundColor, void(std::uint32_t)),
          MOVRA_SLOT(SetCameraFocusPosition, void(float, float)),
          MOVRA_SLOT(EnableManualFocus, void(bool)),
          MOVRA_SLOT(SetCustomRenderOutput,
                     void(PixelFormat, BufferType, std::shared_ptr<IPixelFrameTrackWriter>)),
          MOVRA_SLOT(ResetRenderState, void()),
          MOVRA_SLOT(Snapshot, void(SnapshotCallback)),
          MOVRA_SLOT(GetStats, RendererStats()),
      });
}

TEST(SlotOrder, RendererControllerClient) {
  using I = IVideoRendererController::Client;
  ExpectSlots<I>(
      DestructorStands::kLast,
      {
          MOVRA_SLOT(OnFocusAtPoint, void(int, int, int, int)),
          MOVRA_SLOT(OnZoom, void(float)),
          MOVRA_SLOT(OnRenderFirstFrame, void(RenderEventReason, unsigned int, unsigned int)),
          MOVRA_SLOT(OnClassicRenderFreeze, void(unsigned int)),
          MOVRA_SLOT(OnFeelingRenderFreeze, void(unsigned int)),
          MOVRA_SLOT(OnRenderError, void(VideoRenderError)),
      });
}

TEST(SlotOrder, EncoderController) {
  using I = IVideoEncoderController;
  ExpectSlots<I>(DestructorStands::kFirst,
                 {
                     MOVRA_SLOT(Start, void()),
                     MOVRA_SLOT(Stop, void(std::uint64_t)),
                     MOVRA_SLOT(RequestKeyFrame, void()),
                     MOVRA_SLOT(IsStarted, bool()),
                     MOVRA_SLOT(GetStats, EncoderStats()),
                     // One of the controller's own.
                     MOVRA_SLOT(GetProperty, EncoderProperty()),
                     MOVRA_SLOT(SetEncodeParams, void(const EncodeParams&)),
                     MOVRA_SLOT(SetInputTrackReader, void(std::weak_ptr<IPixelFrameTrackReader>)),
                     MOVRA_SLOT(SetOutputTrackWriter, void(std::weak_ptr<IVideoFrameTrackWriter>)),
                     MOVRA_SLOT(SetRpsNearestRefSize, void(int)),
                     MOVRA_SLOT(DeliverRpsAck, void(std::int32_t, std::uint16_t)),
                     MOVRA_SLOT(SetRoiConfig, void(std::vector<RoiConfigInfo>)),
                 });
}

TEST(SlotOrder, EncoderControllerClient) {
  using I = IVideoEncoderController::Client;
  ExpectSlots<I>(
      DestructorStands::kLast,
      {
          MOVRA_SLOT(OnEncoderNeededFormatChanged, void(VideoStreamType, PixelFormat, BufferType)),
          MOVRA_SLOT(OnEncoderPropertyChanged,
                     void(VideoStreamType, const EncoderProperty&, const EncoderProperty&)),
          MOVRA_SLOT(OnEncodeAbilityChanged, void(VideoStreamType, const EncodeAbility&)),
          MOVRA_SLOT(OnEncoderError,
                     void(VideoStreamType, VideoEncoderError, const movra_base::Value&)),
      });
}

TEST(SlotOrder, PixelFrameTrack) {
  using I = IPixelFrameTrack;
  ExpectSlots<I>(DestructorStands::kLast,
                 {
                     MOVRA_SLOT(GetReader, std::shared_ptr<IPixelFrameTrackReader>()),
                     MOVRA_SLOT(GetWriter, std::shared_ptr<IPixelFrameTrackWriter>()),
                     MOVRA_SLOT(Reset, void()),
                 });
}

TEST(SlotOrder, CodecManager) {
  using I = IVideoCodecManager;
  ExpectSlots<I>(DestructorStands::kLast, {
                                              MOVRA_SLOT(IsHardwareEncoderSupported, int(int)),
                                              MOVRA_SLOT(IsSoftwareEncoderSupported, int(int)),
                                              MOVRA_SLOT(IsRoiSupported, int()),
                                              MOVRA_SLOT(IsReferenceSelectionSupported, int()),
                                          });
}

TEST(SlotOrder, Loggable) {
  using I = VideoLoggable;
  ExpectSlots<I>(DestructorStands::kFirst, {
                                               MOVRA_SLOT(GetTraceId, const InstanceTrace&() const),
                                               MOVRA_SLOT(GetLogTag, const std::string&() const),
                                           });
}

TEST(SlotOrder, LogFilters) {
  {
    using I = LogFilter;
    ExpectSlots<I>(DestructorStands::kFirst,
                   {
                       MOVRA_SLOT(operator(), bool() const),
                       MOVRA_SLOT(AddFilterDesc, void(FilterDescription*)),
                   });
  }
  {
    using I = FilterDescription;
    ExpectSlots<I>(DestructorStands::kFirst,
                   {
                       MOVRA_SLOT(DescType, std::string()),
                       MOVRA_SLOT(MakeFilter, std::shared_ptr<LogFilter>()),
                   });
  }
}

// That the reading can fail at all.
class Swapped {
 public:
  virtual void Second() = 0;
  virtual ~Swapped() = default;
  virtual void First() = 0;
};

TEST(SlotOrder, IsReadFromTheTableAndNotFromTheList) {
  EXPECT_EQ(testing::SlotOf<void()>(&Swapped::Second), 0u);
  EXPECT_EQ(testing::SlotOf<void()>(&Swapped::First), 3u);
  EXPECT_EQ(testing::CountSlots<Swapped>(), 4u);
}

}  // namespace
}  // namespace movra::video
