#ifndef MOVRA_VIDEO_PRODUCER_VIDEO_PRODUCER2_H_
#define MOVRA_VIDEO_PRODUCER_VIDEO_PRODUCER2_H_

#include <memory>
#include <vector>

#include "base/once_callback.h"
#include "base/value.h"
#include "video/capture_params.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/event_msg.h"
#include "video/green_screen_params.h"
#include "video/objc_wrapper.h"
#include "video/pixel_frame_track.h"
#include "video/screen_source_info.h"
#include "video/size.h"
#include "video/stats.h"
#include "video/video_frame_track.h"
#include "video/video_interceptor_listener.h"
#include "video/video_types.h"

namespace movra::video {

// The sending side of one outgoing video stream: one capture source, a local preview, effects and
// taps, and a big and a small encoded stream.
//
//   auto producer = std::make_shared<VideoProducer2Impl>(context, client, VideoStreamType::kBig);
//   producer->Initialize();
//   producer->StartEncoder(VideoStreamType::kBig, encode_params, writer);
//   producer->StartCapture(camera_params, movra_base::BindOnce([](int error, int ms) { ... }));
//   ...
//   producer->StopEncoder(VideoStreamType::kBig, 1000);
//   producer->StopCapture({});
//   producer->Uninitialize();
//
// Threads: every operation is called on the main queue (core::GetMainQueue()) and returns without
// waiting for frames, StopEncoder excepted. Only IsCapturing and GetCurrentSourceType read state
// that other threads may read too. Frames flow on the collaborators' threads.
//
// Errors: operations report none. Misuse (starting twice, stopping when stopped) is logged and
// tolerated; failures arrive as events of the client and as the error code of the camera start. A
// callback that an operation does not pass on is destroyed, without being run, before it returns.
//
// After Uninitialize only GetStats, GetProducerType, SetClient, IsCapturing, GetCurrentSourceType
// and the screen-share window operations may still be called.
class IVideoProducer2 {
 public:
  // Receives the producer's events on the main queue; held weakly. Each event names its producer,
  // and comes out of a task of its own: never from inside the operation that caused it. None is
  // final: the producer itself changes nothing for any of them, and every operation may be called
  // after it. What each means for the stream, the preview or the shared screen stands with it.
  //
  // When they come is up to the collaborators, and is told of those of media/, which send the first
  // and the third of an encoder, and the errors of renderers and screens; see docs/events.md. What
  // is still on its way when its encoder, renderer or screen is stopped does not come any more.
  class Client {
   public:
    // The stream's encoder was opened: at the first frame of each start, and again whenever codec,
    // size or description differ from what was told last in that start. `from` is that, and empty
    // the first time; `message.text` describes `from` as well.
    virtual void OnEncoderPropertyChanged(IVideoProducer2* producer, VideoStreamType type,
                                          const EncoderProperty& from, const EncoderProperty& to,
                                          const EventMsg& message) = 0;
    // What encoders can do changed, of whichever stream; each time. Not sent by media/, where it
    // stays the same for as long as the process lives.
    virtual void OnEncodeAbilityChanged(IVideoProducer2* producer, EncodeAbility ability) = 0;
    // `detail` is a text for people, or null.
    // - kReconfigureFailed: a change of parameters is refused as a whole, and the stream goes on as
    //   it was; once for each such change.
    // - kOpenFailed, kUnavailable, kEncodeFailed: the stream gives nothing from here on, until the
    //   frames' size or colour or the parameters change; each such change tries anew, and may fail
    //   anew. Without a thread, or after a writer that threw, until the encoder is started again.
    // - kInputUnsupported: frames are left out that the encoder does not read. Once, until one came
    //   that it reads.
    virtual void OnEncoderError(IVideoProducer2* producer, VideoStreamType type,
                                VideoEncoderError error, const movra_base::Value& detail) = 0;
    // The preview shows the first frame since it began, or the first one in another view; `message`
    // says which. Once for each. Not sent by media/ yet.
    virtual void OnRenderFirstFrame(IVideoProducer2* producer, unsigned int width,
                                    unsigned int height, const EventMsg& message) = 0;
    // The preview or the custom rendering shows nothing, until it is set anew; the streams do not
    // mind. Once for each start of a renderer. Of media/ always kNoDisplay.
    virtual void OnRenderError(IVideoProducer2* producer, VideoRenderError error) = 0;
    // The screen cannot be shared, or no longer. The producer counts as capturing all the same:
    // stop the capture before another one is started. Once for each start. Of media/ always
    // kUnavailable.
    virtual void OnScreenSharingError(IVideoProducer2* producer, long source,
                                      VideoScreenSharingError error) = 0;
    // Of the rest media/ sends nothing yet. Started comes once for each start that does not fail,
    // and behind it the first frame, once; stopped is the last one of a start. Paused and resumed
    // follow each other as often as it happens, by request or by itself, as `reason` says.
    virtual void OnScreenSharingStarted(IVideoProducer2* producer, long source) = 0;
    virtual void OnScreenSharingStopped(IVideoProducer2* producer, long source,
                                        VideoScreenSharingStoppedReason reason) = 0;
    virtual void OnScreenSharingPaused(IVideoProducer2* producer, long source,
                                       VideoScreenSharingPausedReason reason) = 0;
    virtual void OnScreenSharingResumed(IVideoProducer2* producer, long source,
                                        VideoScreenSharingResumedReason reason) = 0;
    // `elapsed_ms`: milliseconds since the start.
    virtual void OnScreenSharingFirstFrame(IVideoProducer2* producer, long source,
                                           long long elapsed_ms) = 0;
    // Each time that another window covers the one that is shared.
    virtual void OnWindowCovered(IVideoProducer2* producer, long source) = 0;
    // Each time that the way of capturing changes.
    virtual void OnCapturerModeChange(IVideoProducer2* producer, long source, CapturerMode from,
                                      CapturerMode to) = 0;
    virtual ~Client() = default;
  };

  // What this process can encode. Needs no producer; any thread.
  [[nodiscard]] static EncodeAbility GetEncodeAbility();

  virtual ~IVideoProducer2() = default;

  // Replaces the receiver of events; null for none.
  virtual void SetClient(std::shared_ptr<Client> client) = 0;
  // Figures of the producer and of the stream's encoder; see VideoProducerStats2.
  [[nodiscard]] virtual VideoProducerStats2 GetStats(VideoStreamType type) = 0;
  // Starts frame processing.
  virtual void Initialize() = 0;
  // Stops everything and releases the collaborators.
  virtual void Uninitialize() = 0;
  [[nodiscard]] virtual VideoProducerType GetProducerType() const = 0;

  // Capture. One source at a time: a start while another runs or is paused is logged and ignored.
  // The callback gets the camera's error code and the milliseconds its start took.
  virtual void StartCapture(const CameraParams& params,
                            movra_base::OnceCallback<void(int, int)>&& on_started) = 0;
  virtual void StartCapture(const DesktopScreenParams& params) = 0;
  virtual void StartCapture(const MobileScreenParams& params) = 0;
  // The callback is the camera's; for any other source it is destroyed unrun.
  virtual void StopCapture(movra_base::OnceCallback<void()>&& on_stopped) = 0;
  virtual void PauseCapture() = 0;
  virtual void ResumeCapture() = 0;
  // Takes effect at the next capture start or change of the big stream's size.
  virtual void SetProducerMode(ProducerMode mode) = 0;
  // False while paused.
  [[nodiscard]] virtual bool IsCapturing() = 0;
  [[nodiscard]] virtual VideoSourceType GetCurrentSourceType() = 0;
  // A point of the preview, 0 to 1 each way. Nothing happens without a preview.
  virtual void SetCameraFocusPosition(float x, float y) = 0;

  // Local preview. A view starts or retargets it; null stops it.
  virtual void SetRenderView(std::shared_ptr<ObjcWrapper<NSView>> view) = 0;
  virtual void SetRenderMirror(MirrorMode mode) = 0;
  virtual void SetRenderRotation(VideoRotation rotation) = 0;
  // 0xAARRGGBB; of the preview alone.
  virtual void SetRenderBackgroundColor(unsigned int color) = 0;
  virtual void SetFillMode(FillMode mode) = 0;
  virtual void SetGSensorMode(GSensorMode mode) = 0;
  virtual void SetOutputFrameAdaptiveMode(FrameAdaptiveMode mode, bool flag) = 0;
  // Null removes the cover.
  virtual void SetCoverImageParams(std::shared_ptr<VideoCoverImageParams> params) = 0;

  // Encoding. kSmall means the small stream, every other value the big one. The writer is held
  // weakly: keep it alive for as long as encoded frames are wanted.
  virtual void StartEncoder(VideoStreamType type, const EncodeParams& params,
                            std::shared_ptr<IVideoFrameTrackWriter> writer) = 0;
  // Waits at most the given milliseconds for what is under way to be written.
  virtual void StopEncoder(VideoStreamType type, unsigned long long max_wait_ms) = 0;
  // Of the big stream: may raise the capture's frame rate and change the camera's size. What a
  // running encoder cannot take it refuses as a whole, with kReconfigureFailed.
  virtual void SetEncoderParams(VideoStreamType type, const EncodeParams& params) = 0;
  virtual void SetEncoderMirror(bool mirror) = 0;
  virtual void SetEncoderRotation(VideoRotation rotation) = 0;
  virtual void SetRpsNearestRefSize(VideoStreamType type, int size) = 0;
  virtual void DeliverRpsAck(VideoStreamType type, const RpsAck& ack) = 0;
  virtual void RequestKeyFrame(VideoStreamType type) = 0;
  virtual void SetRoiConfig(VideoStreamType type, const std::vector<RoiConfigInfo>& configs) = 0;

  // The application's own code and tracks on the road of a frame. Enabling custom processing
  // without a pixel format removes the listener.
  virtual void EnableCustomProcessing(bool enable, PixelFormat format, BufferType type,
                                      std::shared_ptr<VideoInterceptorListener> listener) = 0;
  virtual void EnableCustomRendering(bool enable, PixelFormat format, BufferType type,
                                     std::shared_ptr<IPixelFrameTrackWriter> writer) = 0;
  // Enabling stops whatever runs; the input track is connected by setting it afterwards.
  virtual void EnableCustomCapturing(bool enable) = 0;
  virtual void SetCustomCaptureInputTrack(std::shared_ptr<IPixelFrameTrackReader> reader) = 0;
  virtual void AddVideoShuntTrack(InterceptPosition position, PixelFormat format, BufferType type,
                                  std::shared_ptr<IPixelFrameTrackWriter> writer) = 0;
  virtual void RemoveVideoShuntTrack(std::shared_ptr<IPixelFrameTrackWriter> writer) = 0;
  virtual void AddInterceptor(InterceptPosition position, const CustomProcessParams& params,
                              std::weak_ptr<VideoInterceptorListener> listener) = 0;
  virtual void RemoveInterceptor(std::weak_ptr<VideoInterceptorListener> listener) = 0;

  // Effects; see IVideoPreprocessor2 for the arguments. Beauty levels run from 0 to 9 here.
  virtual void SetWatermark(std::shared_ptr<ObjcWrapper<NSImage>> image, double x, double y,
                            double width, bool in_preview) = 0;
  // The callback runs exactly once; with null if no picture can be taken.
  virtual void Snapshot(
      SnapshotSourceType source,
      movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)> on_done) = 0;
  virtual void SetBeautyStyle(BeautyStyle style) = 0;
  virtual void SetBeautyLevel(float level) = 0;
  virtual void SetWhitenessLevel(float level) = 0;
  virtual void SetRuddyLevel(float level) = 0;
  virtual void SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> filter) = 0;
  virtual void SetLUTColorFilterStrength(float strength) = 0;
  virtual void SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> first, float first_strength,
                                 std::shared_ptr<ObjcWrapper<NSImage>> second,
                                 float second_strength, float ratio) = 0;
  virtual void SetGreenScreenParams(const GreenScreenParams& params) = 0;

  // What can be shared, and which windows a shared screen leaves out or shows.
  [[nodiscard]] virtual std::vector<ScreenSourceInfo> GetScreenShareSourceList(
      const Size& thumbnail_size, const Size& icon_size) = 0;
  virtual void AddExcludedShareWindow(long window) = 0;
  virtual void RemoveExcludedShareWindow(long window) = 0;
  virtual void RemoveAllExcludedShareWindow() = 0;
  virtual void AddIncludedShareWindow(long window) = 0;
  virtual void RemoveIncludedShareWindow(long window) = 0;
  virtual void RemoveAllIncludedShareWindow() = 0;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_VIDEO_PRODUCER2_H_
