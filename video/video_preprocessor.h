#ifndef MOVRA_VIDEO_VIDEO_PREPROCESSOR_H_
#define MOVRA_VIDEO_VIDEO_PREPROCESSOR_H_

#include <cstdint>
#include <memory>

#include "base/once_callback.h"
#include "core/dispatch_queue.h"
#include "video/capture_params.h"
#include "video/custom_process_params.h"
#include "video/green_screen_params.h"
#include "video/objc_wrapper.h"
#include "video/pixel_frame_track.h"
#include "video/video_context.h"
#include "video/video_interceptor_listener.h"
#include "video/video_types.h"

namespace movra::video {

// Reads captured frames, applies effects and hands the result to interceptors and output tracks.
//
// The producer makes one and calls it on the main queue; every operation returns at once. Frames
// are processed on the queue given to Create, which producers may share: nothing there ever waits.
// Settings may change at any time and hold for the frames processed after the call. Tracks and
// listeners are held weakly; one that dies drops out by itself, and one that was gone before its
// first frame is told. At a position that there is not nothing is added, and that is told too.
class IVideoPreprocessor2 {
 public:
  [[nodiscard]] static std::shared_ptr<IVideoPreprocessor2> Create(
      const VideoContext& context, std::shared_ptr<core::DispatchQueue> queue);

  // Called on initialisation and after every capture start; starting twice is harmless.
  virtual void StartProcessing() = 0;
  // Where frames come from; replaces the previous reader.
  virtual void SetInputTrackReader(std::weak_ptr<IPixelFrameTrackReader> reader) = 0;

  // Frames at the position pass through the listener, in the order of adding.
  virtual void AddInterceptor(InterceptPosition position, const CustomProcessParams& params,
                              std::weak_ptr<VideoInterceptorListener> listener) = 0;
  virtual void RemoveInterceptor(std::weak_ptr<VideoInterceptorListener> listener) = 0;

  // Frames at the position are written into the writer in the size and format asked for. A writer
  // stands at one position at a time per addition; removal is by writer, from every position.
  virtual void AddOutputTrack(InterceptPosition position, const CustomProcessParams& params,
                              std::weak_ptr<IPixelFrameTrackWriter> writer) = 0;
  virtual void RemoveOutputTrack(std::weak_ptr<IPixelFrameTrackWriter> writer) = 0;

  // Frames are left unread until the next StartProcessing.
  virtual void StopProcessing() = 0;

  // The number of frames processed since creation.
  [[nodiscard]] virtual std::uint32_t GetStats() = 0;

  // Answers with the next processed frame; with null if none comes before processing stops.
  virtual void Snapshot(
      movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)> on_done) = 0;

  // Beauty. The levels are fractions, 0 to 1.
  virtual void SetBeautyStyle(BeautyStyle style) = 0;
  virtual void SetBeautyLevel(float level) = 0;
  virtual void SetWhitenessLevel(float level) = 0;
  virtual void SetRuddyLevel(float level) = 0;

  // Colour filters by look-up image; a null image removes the filter. Strength 0 to 1. The second
  // form blends two filters, each with its strength; `ratio` is the share of the picture's width,
  // from the left, that the first one covers.
  virtual void SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> filter) = 0;
  virtual void SetLUTColorFilterStrength(float strength) = 0;
  virtual void SetLUTColorFilter(std::shared_ptr<ObjcWrapper<NSImage>> first, float first_strength,
                                 std::shared_ptr<ObjcWrapper<NSImage>> second,
                                 float second_strength, float ratio) = 0;

  virtual void SetGreenScreenParams(const GreenScreenParams& params) = 0;

  // Position of the top left corner and width as fractions of the picture; the height follows the
  // image's shape. `in_preview`: the preview shows it too. A null image removes the watermark.
  virtual void SetWatermark(std::shared_ptr<ObjcWrapper<NSImage>> image, double x, double y,
                            double width, bool in_preview) = 0;

  // A picture shown instead of captured frames; null clears it.
  virtual void SetCoverImageParams(std::shared_ptr<VideoCoverImageParams> params) = 0;

  virtual void SetSourceType(VideoSourceType type) = 0;
  virtual void SetProducerMode(ProducerMode mode) = 0;
  virtual void SetFrameAdaptiveFlag(bool flag) = 0;

  // Of the frames themselves, before the taps.
  virtual void SetMirror(MirrorMode mode) = 0;
  virtual void SetRotation(VideoRotation rotation) = 0;

  // Of what encoders receive, all streams alike.
  virtual void SetEncoderMirror(bool mirror) = 0;
  // Size of the big stream in pixels.
  virtual void SetEncoderOutputSize(int width, int height) = 0;
  virtual void SetEncoderRotation(VideoRotation rotation) = 0;

  // How a frame is fitted into a tap of another shape.
  virtual void SetFrameAdaptiveMode(FrameAdaptiveMode mode) = 0;
  virtual void SetGSensorMode(GSensorMode mode) = 0;

  // Stands last: earlier slots are what callers are built against.
  virtual ~IVideoPreprocessor2() = default;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_PREPROCESSOR_H_
