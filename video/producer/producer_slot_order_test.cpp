// Applications are built against the producer's virtual tables, so their order is part of the
// interface. How slots are read is told in testing/slot_order.h.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "testing/slot_order.h"
#include "video/producer/video_producer2.h"

namespace movra::video {
namespace {

using testing::DestructorStands;
using testing::ExpectSlots;
using Image = std::shared_ptr<ObjcWrapper<NSImage>>;
using Writer = std::shared_ptr<IPixelFrameTrackWriter>;

std::vector<testing::Slot> FromSetClientToSetRoiConfig() {
  using I = IVideoProducer2;
  return {
      MOVRA_SLOT(SetClient, void(std::shared_ptr<IVideoProducer2::Client>)),
      MOVRA_SLOT(GetStats, VideoProducerStats2(VideoStreamType)),
      MOVRA_SLOT(Initialize, void()),
      MOVRA_SLOT(Uninitialize, void()),
      MOVRA_SLOT(GetProducerType, VideoProducerType() const),
      MOVRA_SLOT(StartCapture,
                 void(const CameraParams&, movra_base::OnceCallback<void(int, int)>&&)),
      MOVRA_SLOT(StartCapture, void(const DesktopScreenParams&)),
      MOVRA_SLOT(StartCapture, void(const MobileScreenParams&)),
      MOVRA_SLOT(StopCapture, void(movra_base::OnceCallback<void()> &&)),
      MOVRA_SLOT(PauseCapture, void()),
      MOVRA_SLOT(ResumeCapture, void()),
      MOVRA_SLOT(SetProducerMode, void(ProducerMode)),
      MOVRA_SLOT(IsCapturing, bool()),
      MOVRA_SLOT(GetCurrentSourceType, VideoSourceType()),
      MOVRA_SLOT(SetCameraFocusPosition, void(float, float)),
      MOVRA_SLOT(SetRenderView, void(std::shared_ptr<ObjcWrapper<NSView>>)),
      MOVRA_SLOT(SetRenderMirror, void(MirrorMode)),
      MOVRA_SLOT(SetRenderRotation, void(VideoRotation)),
      MOVRA_SLOT(SetRenderBackgroundColor, void(unsigned int)),
      MOVRA_SLOT(SetFillMode, void(FillMode)),
      MOVRA_SLOT(SetGSensorMode, void(GSensorMode)),
      MOVRA_SLOT(SetOutputFrameAdaptiveMode, void(FrameAdaptiveMode, bool)),
      MOVRA_SLOT(SetCoverImageParams, void(std::shared_ptr<VideoCoverImageParams>)),
      MOVRA_SLOT(StartEncoder, void(VideoStreamType, const EncodeParams&,
                                    std::shared_ptr<IVideoFrameTrackWriter>)),
      MOVRA_SLOT(StopEncoder, void(VideoStreamType, unsigned long long)),
      MOVRA_SLOT(SetEncoderParams, void(VideoStreamType, const EncodeParams&)),
      MOVRA_SLOT(SetEncoderMirror, void(bool)),
      MOVRA_SLOT(SetEncoderRotation, void(VideoRotation)),
      MOVRA_SLOT(SetRpsNearestRefSize, void(VideoStreamType, int)),
      MOVRA_SLOT(DeliverRpsAck, void(VideoStreamType, const RpsAck&)),
      MOVRA_SLOT(RequestKeyFrame, void(VideoStreamType)),
      MOVRA_SLOT(SetRoiConfig, void(VideoStreamType, const std::vector<RoiConfigInfo>&)),
  };
}

std::vector<testing::Slot> FromEnableCustomProcessingOn() {
  using I = IVideoProducer2;
  return {
      MOVRA_SLOT(EnableCustomProcessing,
                 void(bool, PixelFormat, BufferType, std::shared_ptr<VideoInterceptorListener>)),
      MOVRA_SLOT(EnableCustomRendering, void(bool, PixelFormat, BufferType, Writer)),
      MOVRA_SLOT(EnableCustomCapturing, void(bool)),
      MOVRA_SLOT(SetCustomCaptureInputTrack, void(std::shared_ptr<IPixelFrameTrackReader>)),
      MOVRA_SLOT(AddVideoShuntTrack, void(InterceptPosition, PixelFormat, BufferType, Writer)),
      MOVRA_SLOT(RemoveVideoShuntTrack, void(Writer)),
      MOVRA_SLOT(AddInterceptor, void(InterceptPosition, const CustomProcessParams&,
                                      std::weak_ptr<VideoInterceptorListener>)),
      MOVRA_SLOT(RemoveInterceptor, void(std::weak_ptr<VideoInterceptorListener>)),
      MOVRA_SLOT(SetWatermark, void(Image, double, double, double, bool)),
      MOVRA_SLOT(Snapshot, void(SnapshotSourceType, movra_base::OnceCallback<void(Image)>)),
      MOVRA_SLOT(SetBeautyStyle, void(BeautyStyle)),
      MOVRA_SLOT(SetBeautyLevel, void(float)),
      MOVRA_SLOT(SetWhitenessLevel, void(float)),
      MOVRA_SLOT(SetRuddyLevel, void(float)),
      MOVRA_SLOT(SetLUTColorFilter, void(Image)),
      MOVRA_SLOT(SetLUTColorFilterStrength, void(float)),
      MOVRA_SLOT(SetLUTColorFilter, void(Image, float, Image, float, float)),
      MOVRA_SLOT(SetGreenScreenParams, void(const GreenScreenParams&)),
      MOVRA_SLOT(GetScreenShareSourceList, std::vector<ScreenSourceInfo>(const Size&, const Size&)),
      MOVRA_SLOT(AddExcludedShareWindow, void(long)),
      MOVRA_SLOT(RemoveExcludedShareWindow, void(long)),
      MOVRA_SLOT(RemoveAllExcludedShareWindow, void()),
      MOVRA_SLOT(AddIncludedShareWindow, void(long)),
      MOVRA_SLOT(RemoveIncludedShareWindow, void(long)),
      MOVRA_SLOT(RemoveAllIncludedShareWindow, void()),
  };
}

TEST(ProducerSlotOrder, AllFiftySevenOperations) {
  std::vector<testing::Slot> operations = FromSetClientToSetRoiConfig();
  for (const testing::Slot& slot : FromEnableCustomProcessingOn()) operations.push_back(slot);
  EXPECT_EQ(operations.size(), 57u);
  ExpectSlots<IVideoProducer2>(DestructorStands::kFirst, operations);
}

TEST(ProducerSlotOrder, Client) {
  using I = IVideoProducer2::Client;
  using P = IVideoProducer2*;
  ExpectSlots<I>(
      DestructorStands::kLast,
      {
          MOVRA_SLOT(OnEncoderPropertyChanged, void(P, VideoStreamType, const EncoderProperty&,
                                                    const EncoderProperty&, const EventMsg&)),
          MOVRA_SLOT(OnEncodeAbilityChanged, void(P, EncodeAbility)),
          MOVRA_SLOT(OnEncoderError,
                     void(P, VideoStreamType, VideoEncoderError, const movra_base::Value&)),
          MOVRA_SLOT(OnRenderFirstFrame, void(P, unsigned int, unsigned int, const EventMsg&)),
          MOVRA_SLOT(OnRenderError, void(P, VideoRenderError)),
          MOVRA_SLOT(OnScreenSharingError, void(P, long, VideoScreenSharingError)),
          MOVRA_SLOT(OnScreenSharingStarted, void(P, long)),
          MOVRA_SLOT(OnScreenSharingStopped, void(P, long, VideoScreenSharingStoppedReason)),
          MOVRA_SLOT(OnScreenSharingPaused, void(P, long, VideoScreenSharingPausedReason)),
          MOVRA_SLOT(OnScreenSharingResumed, void(P, long, VideoScreenSharingResumedReason)),
          MOVRA_SLOT(OnScreenSharingFirstFrame, void(P, long, long long)),
          MOVRA_SLOT(OnWindowCovered, void(P, long)),
          MOVRA_SLOT(OnCapturerModeChange, void(P, long, CapturerMode, CapturerMode)),
      });
}

}  // namespace
}  // namespace movra::video
