#ifndef MOVRA_VIDEO_PRODUCER_VIDEO_PRODUCER2_IMPL_H_
#define MOVRA_VIDEO_PRODUCER_VIDEO_PRODUCER2_IMPL_H_

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "base/once_callback.h"
#include "base/optional.h"
#include "core/dispatch_queue.h"
#include "video/camera_service.h"
#include "video/producer/video_producer2.h"
#include "video/screen_sharing.h"
#include "video/video_context.h"
#include "video/video_encoder_controller.h"
#include "video/video_loggable.h"
#include "video/video_preprocessor.h"
#include "video/video_renderer_controller.h"

namespace movra::video {

// The producer. It does no pixel work: it creates its collaborators through their factories or
// finds them in registries, starts and stops them, wires them with named tracks and turns their
// events into events for its client.
//
// Always owned by a std::shared_ptr: operations that hand the producer to a collaborator take its
// self-reference and throw std::bad_weak_ptr without one. Collaborators hold it weakly; only the
// completion of a camera restart keeps it alive until the camera service has run or dropped it.
//
// All state belongs to the main queue and no lock is taken. capture_status_ and source_type_ are
// atomic so that other threads may read them. The destructor only releases members; Uninitialize
// is what stops collaborators.
class VideoProducer2Impl : public IVideoProducer2,
                           public IVideoRendererController::Client,
                           public IVideoEncoderController::Client,
                           public IScreenSharing::Client,
                           public std::enable_shared_from_this<VideoProducer2Impl>,
                           public VideoLoggable {
 public:
  enum class CaptureStatus : std::int32_t { kStopped = 0, kStarted = 1, kPaused = 2 };

  // Creates the preprocessor and the screen capturer; everything else is made when first needed.
  VideoProducer2Impl(const VideoContext& context, std::shared_ptr<IVideoProducer2::Client> client,
                     VideoStreamType stream_type);
  ~VideoProducer2Impl() override;

  VideoProducer2Impl(const VideoProducer2Impl&) = delete;
  VideoProducer2Impl& operator=(const VideoProducer2Impl&) = delete;

  // IVideoProducer2
  void SetClient(std::shared_ptr<IVideoProducer2::Client> client) override;
  VideoProducerStats2 GetStats(VideoStreamType type) override;
  void Initialize() override;
  void Uninitialize() override;
  VideoProducerType GetProducerType() const override;
  void StartCapture(const CameraParams& params,
                    movra_base::OnceCallback<void(int, int)>&& on_started) override;
  void StartCapture(const DesktopScreenParams& params) override;
  void StartCapture(const MobileScreenParams& params) override;
  void StopCapture(movra_base::OnceCallback<void()>&& on_stopped) override;
  void PauseCapture() override;
  void ResumeCapture() override;
  void SetProducerMode(ProducerMode mode) override;
  bool IsCapturing() override;
  VideoSourceType GetCurrentSourceType() override;
  void SetCameraFocusPosition(float x, float y) override;
  void SetRenderView(std::shared_ptr<ObjcWrapper<NSView>> view) override;
  void SetRenderMirror(MirrorMode mode) override;
  void SetRenderRotation(VideoRotation rotation) override;
  void SetRenderBackgroundColor(unsigned int color) override;
  void SetFillMode(FillMode mode) override;
  void SetGSensorMode(GSensorMode mode) override;
  void SetOutputFrameAdaptiveMode(FrameAdaptiveMode mode, bool flag) override;
  void SetCoverImageParams(std::shared_ptr<VideoCoverImageParams> params) override;
  void StartEncoder(VideoStreamType type, const EncodeParams& params,
                    std::shared_ptr<IVideoFrameTrackWriter> writer) override;
  void StopEncoder(VideoStreamType type, unsigned long long max_wait_ms) override;
  void SetEncoderParams(VideoStreamType type, const EncodeParams& params) override;
  void SetEncoderMirror(bool mirror) override;
  void SetEncoderRotation(VideoRotation rotation) override;
  void SetRpsNearestRefSize(VideoStreamType type, int size) override;
  void DeliverRpsAck(VideoStreamType type, const RpsAck& ack) override;
  void RequestKeyFrame(VideoStreamType type) override;
  void SetRoiConfig(VideoStreamType type, const std::vector<RoiConfigInfo>& configs) override;
  void EnableCustomProcessing(bool enable, PixelFormat format, BufferType type,
                              std::shared_ptr<VideoInterceptorListener> listener) override;
  void EnableCustomRendering(bool enable, PixelFormat format, BufferType type,
                             std::shared_ptr<IPixelFrameTrackWriter> writer) override;
  void EnableCustomCapturing(bool enable) override;
  void SetCustomCaptureInputTrack(std::shared_ptr<IPixelFrameTrackReader> reader) override;
  void AddVideoShuntTrack(InterceptPosition position, PixelFormat format, BufferType type,
                          std::shared_ptr<IPixelFrameTrackWriter> writer) override;
  void RemoveVideoShuntTrack(std::shared_ptr<IPixelFrameTrackWriter> writer) override;
  void AddInterceptor(InterceptPosition position, const CustomProcessParams& params,
                      std::weak_ptr<VideoInterceptorListener> listener) override;
  void RemoveInterceptor(std::weak_ptr<VideoInterceptorListener> listener) override;
  void SetWatermark(std::shared_ptr<ObjcWrapper<NSImage>> image, double x, double y, double width,
                    bool in_preview) override;
  void Snapshot(
      SnapshotSourceType source,
      movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)> on_done) override;
  void SetBeautyStyle(BeautyStyle style) override;
  void SetBeautyLevel(float level) override;
  void SetWhitenessLevel(float level) override;
  void SetRuddyLevel(float level) override;
  void SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> filter) override;
  void SetLUTColorFilterStrength(float strength) override;
  void SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> first, float first_strength,
                         std::shared_ptr<ObjcWrapper<NSImage>> second, float second_strength,
                         float ratio) override;
  void SetGreenScreenParams(const GreenScreenParams& params) override;
  std::vector<ScreenSourceInfo> GetScreenShareSourceList(const Size& thumbnail_size,
                                                         const Size& icon_size) override;
  void AddExcludedShareWindow(long window) override;
  void RemoveExcludedShareWindow(long window) override;
  void RemoveAllExcludedShareWindow() override;
  void AddIncludedShareWindow(long window) override;
  void RemoveIncludedShareWindow(long window) override;
  void RemoveAllIncludedShareWindow() override;

  // IVideoRendererController::Client
  void OnFocusAtPoint(int x, int y, int view_width, int view_height) override;
  void OnZoom(float scale) override;
  void OnRenderFirstFrame(RenderEventReason reason, unsigned int width,
                          unsigned int height) override;
  void OnClassicRenderFreeze(unsigned int duration_ms) override;
  void OnFeelingRenderFreeze(unsigned int duration_ms) override;
  void OnRenderError(VideoRenderError error) override;

  // IVideoEncoderController::Client
  void OnEncoderNeededFormatChanged(VideoStreamType type, PixelFormat format,
                                    BufferType buffer_type) override;
  void OnEncoderPropertyChanged(VideoStreamType type, const EncoderProperty& from,
                                const EncoderProperty& to) override;
  void OnEncodeAbilityChanged(VideoStreamType type, const EncodeAbility& ability) override;
  void OnEncoderError(VideoStreamType type, VideoEncoderError error,
                      const movra_base::Value& detail) override;

  // IScreenSharing::Client
  void OnScreenSharingError(long source, VideoScreenSharingError error) override;
  void OnScreenSharingStarted(long source) override;
  void OnScreenSharingStopped(long source, VideoScreenSharingStoppedReason reason) override;
  void OnScreenSharingPaused(long source, VideoScreenSharingPausedReason reason) override;
  void OnScreenSharingResumed(long source, VideoScreenSharingResumedReason reason) override;
  void OnScreenSharingFirstFrame(long source, long long elapsed_ms) override;
  void OnWindowCovered(long source) override;
  void OnScreenSharingWindowSizeChanged(long source, const Size& size) override;
  void OnCapturerModeChange(long source, CapturerMode from, CapturerMode to) override;

 private:
  // The members of one of the two encoded streams.
  struct EncoderSet {
    const char* track_name;
    std::shared_ptr<IPixelFrameTrack>& input_track;
    std::shared_ptr<IVideoEncoderController>& controller;
    Size& encode_size;
    std::int32_t& encode_frame_rate;
    PixelFormat& pixel_format;
    BufferType& buffer_type;
  };

  // Lifecycle
  std::shared_ptr<core::DispatchQueue> GetPreprocessorQueue();
  static void DetachAndStopRenderer(std::shared_ptr<IVideoRendererController>& renderer);
  std::uint32_t GetCaptureStat();

  // Capture
  bool IsNeedStartCapture() const;
  Size CalculateCameraCaptureSizeByInputSize(const Size& input) const;
  void StartCaptureInternal(movra_base::OnceCallback<void(int, int)>&& on_started);
  bool StartStoredSource(movra_base::OnceCallback<void(int, int)>&& on_started);
  void StopCaptureInternal(movra_base::OnceCallback<void()>&& on_stopped);
  void StartCamera(const CameraParams& params,
                   movra_base::OnceCallback<void(int, int)>&& on_started);
  void StopCamera(movra_base::OnceCallback<void()>&& on_stopped);
  void OnCaptureStarted(int error_code, int elapse_time);
  void StartVirtualCameraInternal(const CameraParams& params,
                                  movra_base::OnceCallback<void(int, int)>&& on_started);
  void StopVirtualCameraInternal();
  void UpdateCameraParamsByCoverImageIfNeed(std::shared_ptr<VideoCoverImageParams> params);
  void ReprocessCoverImage(const VideoCoverImageParams& params);

  // Camera events
  void SubscribeCameraEvent();
  void UnSubscribeCameraEvent();
  void OnCameraDeviceStateChange(const CameraDeviceState& state, const VideoDeviceInfo& info);
  void OnCameraAutoFocusEnabled(const std::string& device_id, bool enabled);

  // Screen
  bool PrepareScreenSharing();
  void StartDesktopScreenSharing();
  void StartMobileScreenSharing();
  void StopScreenSharing();

  // Preview
  void StartLocalRender(std::shared_ptr<ObjcWrapper<NSView>> view);
  void SetupLocalRendererOutputTrackToPreprocessor();
  void StopLocalRender();
  void StartCustomRender(PixelFormat format, BufferType type,
                         std::shared_ptr<IPixelFrameTrackWriter> writer);
  void SetupCustomRendererOutputTrackToPreprocessor(PixelFormat format, BufferType type);
  void StopCustomRender();
  std::shared_ptr<IVideoRendererController> CreateRenderer(
      std::shared_ptr<IPixelFrameTrack>& track);
  void TapPreprocessorForPreview(const std::shared_ptr<IVideoRendererController>& renderer,
                                 const std::shared_ptr<IPixelFrameTrack>& track);
  void DetachPreviewTrack(const std::shared_ptr<IPixelFrameTrack>& track);
  FrameAdaptiveMode GetCalculateFrameAdaptiveMode() const;

  // Encoding
  EncoderSet GetEncoderSet(VideoStreamType type);
  std::shared_ptr<IVideoEncoderController> GetEncoderController(VideoStreamType type);
  std::shared_ptr<IPixelFrameTrack> GetEncoderControllerInputPixelFrameTrack(VideoStreamType type);
  void UpdateEncoderSupportFormatIfNeed(VideoStreamType type, const EncodeParams& params);
  void SetupProcessorOutputTrackForEncoder(VideoStreamType type, int width, int height);
  void DestroyEncoderController(VideoStreamType type, unsigned long long max_wait_ms);
  void PrintEncoderParamsIfNeeded(VideoStreamType type, const EncodeParams& params);
  void UpdateEncoderParamsInternal(VideoStreamType type, const EncodeParams& params);
  void CacheEncodeSizeAndFrameRate(VideoStreamType type, const EncodeParams& params);
  void ReInterceptEncoderOutputTrackIfNeed(VideoStreamType type, const EncodeParams& params,
                                           std::shared_ptr<IVideoEncoderController> controller);

  // Capture adaptation
  void UpdateCaptureParamsByEncodeParamsIfNeed(VideoStreamType type, const EncodeParams& params);
  void UpdateCaptureFramerateIfNeed(const EncodeParams& params);
  bool RaiseCaptureFrameRate(std::int32_t frame_rate);
  void UpdateCameraCaptureWidthAndHeightIfNeed();
  void UpdateScreenCaptureSizeIfNeed(const EncodeParams& params);

  // The order is part of the object's shape, and fixes the order of destruction (last first).
  std::weak_ptr<IVideoProducer2::Client> client_;
  VideoProducerStats2 stats_;
  std::atomic<CaptureStatus> capture_status_{CaptureStatus::kStopped};
  std::atomic<VideoSourceType> source_type_{VideoSourceType::kNone};
  movra_base::Optional<CameraParams> camera_params_;
  std::shared_ptr<IScreenSharing> screen_sharing_;
  movra_base::Optional<MobileScreenParams> mobile_screen_params_;
  movra_base::Optional<DesktopScreenParams> desktop_screen_params_;
  ProducerMode producer_mode_ = ProducerMode::kDefault;
  std::shared_ptr<IPixelFrameTrack> capture_output_track_;
  movra_base::Optional<CameraParams> virtual_camera_params_;
  std::weak_ptr<IPixelFrameTrackReader> custom_capture_input_track_;
  std::shared_ptr<IVideoPreprocessor2> preprocessor_;
  std::shared_ptr<core::DispatchQueue> preprocessor_queue_;
  VideoStreamType stream_type_;
  std::shared_ptr<IPixelFrameTrack> big_encoder_input_track_;
  std::shared_ptr<IPixelFrameTrack> small_encoder_input_track_;
  std::shared_ptr<IVideoEncoderController> big_encoder_controller_;
  std::shared_ptr<IVideoEncoderController> small_encoder_controller_;
  Size big_encode_size_;
  std::int32_t big_encode_frame_rate_ = 0;
  PixelFormat big_encoder_pixel_format_ = PixelFormat::kNone;
  BufferType big_encoder_buffer_type_ = BufferType::kMemory;
  Size small_encode_size_;
  std::int32_t small_encode_frame_rate_ = 0;
  PixelFormat small_encoder_pixel_format_ = PixelFormat::kNone;
  BufferType small_encoder_buffer_type_ = BufferType::kMemory;
  bool watermark_in_preview_ = false;
  std::shared_ptr<IVideoRendererController> local_renderer_;
  std::shared_ptr<IVideoRendererController> custom_renderer_;
  movra_base::Optional<FillMode> fill_mode_;
  movra_base::Optional<std::uint32_t> background_color_;
  movra_base::Optional<FrameAdaptiveMode> custom_frame_adaptive_mode_;
  std::shared_ptr<IPixelFrameTrack> local_render_track_;
  std::shared_ptr<IPixelFrameTrack> custom_render_track_;
};

// "kStopped = 0", "kStarted = 1", "kPaused = 2", otherwise "CaptureStatus::UN_DEF(7)".
std::ostream& operator<<(std::ostream& stream, VideoProducer2Impl::CaptureStatus status);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_VIDEO_PRODUCER2_IMPL_H_
