#ifndef MOVRA_MEDIA_RENDER_UNAVAILABLE_RENDERER_H_
#define MOVRA_MEDIA_RENDER_UNAVAILABLE_RENDERER_H_

#include <cstdint>
#include <memory>

#include "video/video_renderer_controller.h"

namespace movra::media {

// Stands where nothing can be drawn: every call is safe, each start is answered on the main queue
// by the error kNoDisplay, and the first one also by a line in the log. Frames stay unread in the
// input track, where newer ones replace them. Main queue.
class UnavailableRenderer final : public video::IVideoRendererController {
 public:
  UnavailableRenderer(const video::VideoContext& context, std::weak_ptr<Client> client);

  // IVideoRendererController
  void Start() override;
  void Stop(bool /*keep_last_frame*/) override {}
  void SetInputTrack(std::shared_ptr<video::IPixelFrameTrackReader> /*reader*/) override {}
  void SetView(std::shared_ptr<video::ObjcWrapper<NSView>> /*view*/) override {}
  void SetFillMode(video::FillMode /*mode*/) override {}
  void SetBackgroundColor(std::uint32_t /*color*/) override {}
  void SetCameraFocusPosition(float /*x*/, float /*y*/) override {}
  void EnableManualFocus(bool /*enable*/) override {}
  void SetCustomRenderOutput(video::PixelFormat /*format*/, video::BufferType /*type*/,
                             std::shared_ptr<video::IPixelFrameTrackWriter> /*writer*/) override {}
  void ResetRenderState() override {}
  void Snapshot(movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)>
                    on_done) override;
  [[nodiscard]] video::RendererStats GetStats() override { return {}; }

 private:
  const video::VideoContext context_;
  const std::weak_ptr<Client> client_;
  bool is_reported_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_RENDER_UNAVAILABLE_RENDERER_H_
