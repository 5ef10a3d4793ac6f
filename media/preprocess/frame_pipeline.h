#ifndef MOVRA_MEDIA_PREPROCESS_FRAME_PIPELINE_H_
#define MOVRA_MEDIA_PREPROCESS_FRAME_PIPELINE_H_

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/figures/frame_account.h"
#include "media/frame/frame_pool.h"
#include "media/preprocess/output_maker.h"
#include "media/preprocess/stage_table.h"
#include "video/custom_process_params.h"
#include "video/pixel_frame.h"
#include "video/pixel_frame_track.h"
#include "video/video_context.h"
#include "video/video_interceptor_listener.h"
#include "video/video_types.h"

namespace movra::media {

// A tap or an interceptor at its position. Copies share the flags: a frame in progress is not given
// any more to one that the main queue has removed or that has thrown.
template <class T>
struct Attachment {
  struct Flags {
    std::atomic<bool> is_removed = false;  // Set on the main queue.
    std::atomic<bool> has_thrown = false;  // Set where frames are processed.
    std::atomic<bool> is_known = false;    // Was found alive, or told not to be; set on either.
  };

  video::InterceptPosition position;
  video::CustomProcessParams params;
  std::weak_ptr<T> target;
  // A tap that an encoder reads: what is lossless waits for it, and only for it.
  bool is_for_encoder = false;
  std::shared_ptr<Flags> flags = std::make_shared<Flags>();

  // Null once it is gone or has thrown.
  [[nodiscard]] std::shared_ptr<T> Target() const {
    return flags->has_thrown ? nullptr : target.lock();
  }
  // Null once it is removed, too.
  [[nodiscard]] std::shared_ptr<T> Lock() const { return flags->is_removed ? nullptr : Target(); }
};
using Tap = Attachment<video::IPixelFrameTrackWriter>;
using Interceptor = Attachment<video::VideoInterceptorListener>;

struct PipelineSettings {
  std::vector<Tap> taps;
  std::vector<Interceptor> interceptors;
  FrameWay way;
  video::FrameAdaptiveMode adaptive_mode = video::FrameAdaptiveMode::kCrop;
};

// Tells of one that was gone before anybody used it: most likely it was given as a temporary, which
// nothing keeps. Once; any thread.
void TellIfNeverUsed(const video::VideoContext& context, const Tap& tap);
void TellIfNeverUsed(const video::VideoContext& context, const Interceptor& interceptor);

// Takes a frame through positions and stages in the order of the way: at each position the
// interceptors, then the taps. A stage that changes nothing about the frame costs it nothing.
//
// A frame that does not reach a stream's encoder is counted with its reason. A picture that cannot
// be made is told in the log, once for each that was wanted. An interceptor or a writer that throws
// is told there too and receives nothing more until it is added anew; the frame goes on without it.
//
// One thread at a time.
class FramePipeline {
 public:
  FramePipeline(video::VideoContext context, const std::shared_ptr<FrameAccount>& account);

  // Returns the picture as it was behind kPreviewWithWatermark, empty if the frame did not get
  // there. Once `is_stopped` answers true nobody is given the frame any more.
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
    FrameCounters* stream;    // Of the encoder that reads what is written; null if none does.
    video::Size size;         // A side of 0 means the frame's own.
    video::PixelFrame frame;  // Empty if it cannot be made.
  };

  void Visit(Pass& pass, video::InterceptPosition position);
  void Intercept(Pass& pass, const Interceptor& interceptor);
  void WriteToTaps(Pass& pass, video::InterceptPosition position);
  [[nodiscard]] std::vector<Output> MakeOutputs(Pass& pass, video::InterceptPosition position);
  [[nodiscard]] video::PixelFrame MakePicture(Pass& pass, const Tap& tap, const video::Size& size);
  static void Write(Output& output, const std::function<bool()>& is_stopped);
  void Run(Pass& pass, const StageStep& step);
  [[nodiscard]] FrameCounters* StreamOf(const Tap& tap,
                                        const video::IPixelFrameTrackWriter& writer) const;
  // `what` is whose picture it is.
  void ReportNotMade(const std::string& whose, const video::Size& size, video::PixelFormat format,
                     const video::PixelFrameInfo& from);

  const video::VideoContext context_;
  const std::shared_ptr<FrameCounters> source_;
  const std::array<std::shared_ptr<FrameCounters>, 2> streams_;  // The big one, the small one.
  FramePool pool_;
  std::vector<std::string> reported_;  // What could not be made.
};

// Whether every encoder takes a lossless frame now.
[[nodiscard]] bool EncodersHaveRoom(const PipelineSettings& settings);

// Passes an end mark to every writer, once to each, until `is_stopped` answers true.
void WriteEndToTaps(const PipelineSettings& settings, const video::StreamEnd& end,
                    const std::function<bool()>& is_stopped);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_FRAME_PIPELINE_H_
