#ifndef MOVRA_VIDEO_VIDEO_RENDERER_CONTROLLER_H_
#define MOVRA_VIDEO_VIDEO_RENDERER_CONTROLLER_H_

#include <cstdint>
#include <memory>

#include "base/once_callback.h"
#include "core/dispatch_queue.h"
#include "video/objc_wrapper.h"
#include "video/pixel_frame_track.h"
#include "video/stats.h"
#include "video/video_context.h"
#include "video/video_types.h"

namespace movra::video {

// Draws the frames of its input track into a view, or converts them into a writer of the
// application. Configured on the main queue; receives frames on the queue given to Create; reports
// to its client on the main queue.
class IVideoRendererController {
 public:
  class Client {
   public:
    // A touch on the preview at (x, y) of a view of the given size. Any thread.
    virtual void OnFocusAtPoint(int x, int y, int view_width, int view_height) = 0;
    virtual void OnZoom(float scale) = 0;
    virtual void OnRenderFirstFrame(RenderEventReason reason, unsigned int width,
                                    unsigned int height) = 0;
    virtual void OnClassicRenderFreeze(unsigned int duration_ms) = 0;
    virtual void OnFeelingRenderFreeze(unsigned int duration_ms) = 0;
    virtual void OnRenderError(VideoRenderError error) = 0;
    virtual ~Client() = default;
  };

  [[nodiscard]] static std::shared_ptr<IVideoRendererController> Create(
      const VideoContext& context, std::weak_ptr<Client> client,
      std::shared_ptr<core::DispatchQueue> queue);

  // A renderer that is released while it runs stops by itself.
  virtual ~IVideoRendererController() = default;

  virtual void Start() = 0;
  // `keep_last_frame`: leaves the last picture in the view.
  virtual void Stop(bool keep_last_frame) = 0;
  // Null detaches.
  virtual void SetInputTrack(std::shared_ptr<IPixelFrameTrackReader> reader) = 0;
  // Null detaches.
  virtual void SetView(std::shared_ptr<ObjcWrapper<NSView>> view) = 0;
  virtual void SetFillMode(FillMode mode) = 0;
  // 0xAARRGGBB.
  virtual void SetBackgroundColor(std::uint32_t color) = 0;
  virtual void SetCameraFocusPosition(float x, float y) = 0;
  // Whether touches ask for focus.
  virtual void EnableManualFocus(bool enable) = 0;
  // Frames are converted and written there instead of drawn; kNone keeps a frame's own format.
  virtual void SetCustomRenderOutput(PixelFormat format, BufferType type,
                                     std::shared_ptr<IPixelFrameTrackWriter> writer) = 0;
  // Forgets what was rendered: the next frame is a first frame again.
  virtual void ResetRenderState() = 0;
  // Answers with what the preview shows; with null if it shows nothing.
  virtual void Snapshot(
      movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)> on_done) = 0;
  [[nodiscard]] virtual RendererStats GetStats() = 0;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_RENDERER_CONTROLLER_H_
