#ifndef MOVRA_MEDIA_PREPROCESS_FRAME_PIPELINE_H_
#define MOVRA_MEDIA_PREPROCESS_FRAME_PIPELINE_H_

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "media/frame/frame_pool.h"
#include "media/frame/orient_frame.h"
#include "media/preprocess/output_maker.h"
#include "video/custom_process_params.h"
#include "video/pixel_frame.h"
#include "video/pixel_frame_track.h"
#include "video/video_interceptor_listener.h"
#include "video/video_types.h"

namespace movra::media {

// A tap or an interceptor at its position. Copies share the flag, which the main queue clears when
// it removes the attachment: a frame in progress is not given to it any more.
template <class T>
struct Attachment {
  video::InterceptPosition position;
  video::CustomProcessParams params;
  std::weak_ptr<T> target;
  std::shared_ptr<std::atomic<bool>> attached = std::make_shared<std::atomic<bool>>(true);

  // Null once it is removed or gone.
  [[nodiscard]] std::shared_ptr<T> Lock() const { return *attached ? target.lock() : nullptr; }
};
using Tap = Attachment<video::IPixelFrameTrackWriter>;
using Interceptor = Attachment<video::VideoInterceptorListener>;

struct PipelineSettings {
  std::vector<Tap> taps;
  std::vector<Interceptor> interceptors;
  Orientation orientation;          // On top of the frame's own rotation.
  Orientation encoder_orientation;  // On top of that, for the encoders.
  video::FrameAdaptiveMode adaptive_mode = video::FrameAdaptiveMode::kCrop;
};

// Takes a frame through the positions in their order: at each one the interceptors, then the taps.
// The frame is turned upright behind kCaptured and for the encoders before kEncoder.
//
// One thread at a time.
class FramePipeline {
 public:
  // Returns the upright picture, empty if an interceptor dropped the frame. Once `is_stopped`
  // answers true nobody is given the frame any more.
  video::PixelFrame Process(video::PixelFrame frame, const PipelineSettings& settings,
                            const std::function<bool()>& is_stopped);

  // The same picture as BGRA.
  [[nodiscard]] video::PixelFrame ToImage(const video::PixelFrame& frame);

 private:
  // One frame's way. The maker lives as long as the frame stays the same.
  struct Pass {
    const PipelineSettings& settings;
    const std::function<bool()>& is_stopped;
    video::PixelFrame frame;
    std::optional<OutputMaker> outputs;
  };
  // A picture on its way into a tap.
  struct Output {
    const Tap* tap;
    std::shared_ptr<video::IPixelFrameTrackWriter> writer;
    video::PixelFrame frame;
  };

  void Visit(Pass& pass, video::InterceptPosition position);
  void Intercept(Pass& pass, const Interceptor& interceptor);
  void WriteToTaps(Pass& pass, video::InterceptPosition position);
  [[nodiscard]] std::optional<Output> MakeOutput(Pass& pass, const Tap& tap);
  void Turn(Pass& pass, const Orientation& orientation);

  FramePool pool_;
};

// Whether every encoder takes a lossless frame now.
[[nodiscard]] bool EncodersHaveRoom(const PipelineSettings& settings);

// Passes an end mark to every writer, once to each.
void WriteEndToTaps(const PipelineSettings& settings, const video::StreamEnd& end);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_FRAME_PIPELINE_H_
