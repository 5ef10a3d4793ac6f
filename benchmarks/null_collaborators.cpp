// Collaborators that do nothing, so that what is measured is the producer alone. Each factory
// hands out one object of the process, because making one would be measured too.

#include <memory>
#include <utility>

#include "video/camera_service.h"
#include "video/pixel_frame_track.h"
#include "video/platform.h"
#include "video/resolution_decider_utils.h"
#include "video/screen_sharing.h"
#include "video/video_codec_manager.h"
#include "video/video_encoder_controller.h"
#include "video/video_preprocessor.h"
#include "video/video_renderer_controller.h"

namespace movra::video {
namespace {

using ImageCallback = movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)>;
using Image = std::shared_ptr<ObjcWrapper<NSImage>>;

template <class T>
const std::shared_ptr<T>& TheOne() {
  static const auto object = std::make_shared<T>();
  return object;
}

class NullPreprocessor : public IVideoPreprocessor2 {
 public:
  void StartProcessing() override {}
  void SetInputTrackReader(std::weak_ptr<IPixelFrameTrackReader>) override {}
  void AddInterceptor(InterceptPosition, const CustomProcessParams&,
                      std::weak_ptr<VideoInterceptorListener>) override {}
  void RemoveInterceptor(std::weak_ptr<VideoInterceptorListener>) override {}
  void AddOutputTrack(InterceptPosition, const CustomProcessParams&,
                      std::weak_ptr<IPixelFrameTrackWriter>) override {}
  void RemoveOutputTrack(std::weak_ptr<IPixelFrameTrackWriter>) override {}
  void StopProcessing() override {}
  std::uint32_t GetStats() override { return 0; }
  void Snapshot(ImageCallback) override {}
  void SetBeautyStyle(BeautyStyle) override {}
  void SetBeautyLevel(float) override {}
  void SetWhitenessLevel(float) override {}
  void SetRuddyLevel(float) override {}
  void SetLUTColorFilter(Image) override {}
  void SetLUTColorFilterStrength(float) override {}
  void SetLUTColorFilter(Image, float, Image, float, float) override {}
  void SetGreenScreenParams(const GreenScreenParams&) override {}
  void SetWatermark(Image, double, double, double, bool) override {}
  void SetCoverImageParams(std::shared_ptr<VideoCoverImageParams>) override {}
  void SetSourceType(VideoSourceType) override {}
  void SetProducerMode(ProducerMode) override {}
  void SetFrameAdaptiveFlag(bool) override {}
  void SetMirror(MirrorMode) override {}
  void SetRotation(VideoRotation) override {}
  void SetEncoderMirror(bool) override {}
  void SetEncoderOutputSize(int, int) override {}
  void SetEncoderRotation(VideoRotation) override {}
  void SetFrameAdaptiveMode(FrameAdaptiveMode) override {}
  void SetGSensorMode(GSensorMode) override {}
};

class NullScreenSharing : public IScreenSharing {
 public:
  void AddOutputWriter(std::shared_ptr<IPixelFrameTrackWriter>) override {}
  void RemoveOutputWriter(std::shared_ptr<IPixelFrameTrackWriter>) override {}
  void StartDesktopCapture(const DesktopScreenParams&) override {}
  void StartMobileCapture(const MobileScreenParams&) override {}
  void Stop() override {}
  void UpdateDesktopScreenParams(const DesktopScreenParams&) override {}
  void UpdateMobileScreenParams(const MobileScreenParams&) override {}
  void Pause() override {}
  void Resume() override {}
  void SetClient(std::shared_ptr<Client>) override {}
  std::uint32_t GetCaptureStat() override { return 0; }
  void AddExcludedShareWindow(long) override {}
  void RemoveExcludedShareWindow(long) override {}
  void RemoveAllExcludedShareWindow() override {}
  void AddIncludedShareWindow(long) override {}
  void RemoveIncludedShareWindow(long) override {}
  void RemoveAllIncludedShareWindow() override {}
};

class NullCameraService : public ICameraService {
 public:
  std::shared_ptr<ICameraService> GetSelf() override { return TheOne<NullCameraService>(); }
  void Init() override {}
  void StartCapture(int, const CameraParams&, std::shared_ptr<IPixelFrameTrackWriter>,
                    movra_base::OnceCallback<void(int, int)>&&) override {}
  void StopCapture(const CameraParams&, std::shared_ptr<IPixelFrameTrackWriter>,
                   movra_base::OnceCallback<void()>&&) override {}
  void UpdateCaptureParams(const CameraParams&) override {}
  std::uint32_t GetCaptureStat(const CameraParams&) override { return 0; }
  void DescribeCamera(const std::string&, movra_base::OnceCallback<void(CameraInfo)>&&) override {}
  bool IsAutoFocusEnabled() override { return false; }
  void FocusAtPoint(float, float) override {}
};

class NullRenderer : public IVideoRendererController {
 public:
  void Start() override {}
  void Stop(bool) override {}
  void SetInputTrack(std::shared_ptr<IPixelFrameTrackReader>) override {}
  void SetView(std::shared_ptr<ObjcWrapper<NSView>>) override {}
  void SetFillMode(FillMode) override {}
  void SetBackgroundColor(std::uint32_t) override {}
  void SetCameraFocusPosition(float, float) override {}
  void EnableManualFocus(bool) override {}
  void SetCustomRenderOutput(PixelFormat, BufferType,
                             std::shared_ptr<IPixelFrameTrackWriter>) override {}
  void ResetRenderState() override {}
  void Snapshot(ImageCallback) override {}
  RendererStats GetStats() override { return {}; }
};

class NullEncoder : public IVideoEncoderController {
 public:
  void Start() override {}
  void Stop(std::uint64_t) override {}
  void RequestKeyFrame() override {}
  bool IsStarted() override { return true; }
  EncoderStats GetStats() override { return {}; }
  EncoderProperty GetProperty() override { return {}; }
  void SetEncodeParams(const EncodeParams&) override {}
  void SetInputTrackReader(std::weak_ptr<IPixelFrameTrackReader>) override {}
  void SetOutputTrackWriter(std::weak_ptr<IVideoFrameTrackWriter>) override {}
  void SetRpsNearestRefSize(int) override {}
  void DeliverRpsAck(std::int32_t, std::uint16_t) override {}
  void SetRoiConfig(std::vector<RoiConfigInfo>) override {}
};

class NullReader : public IPixelFrameTrackReader {
 public:
  std::uint32_t GetCaptureStat() override { return 0; }
  TrackItem Read() override { return {}; }
  void SetReadableCallback(std::function<void()>) override {}
};

class NullWriter : public IPixelFrameTrackWriter {
 public:
  TrackWriteResult Write(PixelFrame) override { return TrackWriteResult::kAccepted; }
};

class NullTrack : public IPixelFrameTrack {
 public:
  std::shared_ptr<IPixelFrameTrackReader> GetReader() override { return TheOne<NullReader>(); }
  std::shared_ptr<IPixelFrameTrackWriter> GetWriter() override { return TheOne<NullWriter>(); }
  void Reset() override {}
};

class NullCodecManager : public IVideoCodecManager {
 public:
  int IsHardwareEncoderSupported(int) override { return 0; }
  int IsSoftwareEncoderSupported(int) override { return 1; }
  int IsRoiSupported() override { return 0; }
  int IsReferenceSelectionSupported() override { return 0; }
};

}  // namespace

std::shared_ptr<IVideoPreprocessor2> IVideoPreprocessor2::Create(
    const VideoContext&, std::shared_ptr<core::DispatchQueue>) {
  return TheOne<NullPreprocessor>();
}

std::shared_ptr<IScreenSharing> IScreenSharing::Create(const VideoContext&) {
  return TheOne<NullScreenSharing>();
}

std::vector<ScreenSourceInfo> IScreenSharing::GetSourceList(const Size&, const Size&) { return {}; }

std::vector<VideoDeviceInfo> ICameraService::GetCameraDeviceList(
    CameraListInterface::GetCameraListMode) {
  return {};
}

std::shared_ptr<IVideoRendererController> IVideoRendererController::Create(
    const VideoContext&, std::weak_ptr<Client>, std::shared_ptr<core::DispatchQueue>) {
  return TheOne<NullRenderer>();
}

std::shared_ptr<IVideoEncoderController> IVideoEncoderController::CreateVideoEncoderController(
    const VideoContext&, VideoStreamType, std::weak_ptr<Client>) {
  return TheOne<NullEncoder>();
}

PixelFrameFormat IVideoEncoderController::QueryInputPixelFormat(VideoStreamType,
                                                                const EncodeParams&) {
  return {.buffer_type = BufferType::kMemory, .pixel_format = PixelFormat::kI420};
}

std::shared_ptr<IPixelFrameTrack> IPixelFrameTrack::Create(const std::string&, int) {
  return TheOne<NullTrack>();
}

IVideoCodecManager& IVideoCodecManager::GetInstance() { return *TheOne<NullCodecManager>(); }

bool IsMetalAvailable() { return false; }
bool IsVirtualCameraId(const std::string&) { return false; }

Size resolution_decider_utils::CalculateSizeByLimitLandscapeSize(const Size&, const Size& size) {
  return size;
}

}  // namespace movra::video

template <>
std::shared_ptr<void> core::ServiceCenter::MakeService<movra::video::ICameraService>() {
  return std::shared_ptr<movra::video::ICameraService>(
      movra::video::TheOne<movra::video::NullCameraService>());
}
