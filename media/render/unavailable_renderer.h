#ifndef MOVRA_MEDIA_RENDER_UNAVAILABLE_RENDERER_H_
#define MOVRA_MEDIA_RENDER_UNAVAILABLE_RENDERER_H_

#include <cstdint>
#include <memory>

#include "media/main_queue/client_relay.h"
#include "media/main_queue/main_queue_checker.h"
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
  void Stop(bool keep_last_frame) override;
  void SetInputTrack(std::shared_ptr<video::IPixelFrameTrackReader> /*reader*/) override {
    checker_.Check();
  }
  void SetView(std::shared_ptr<video::ObjcWrapper<NSView>> /*view*/) override { checker_.Check(); }
  void SetFillMode(video::FillMode /*mode*/) override { checker_.Check(); }
  void SetBackgroundColor(std::uint32_t /*color*/) override { checker_.Check(); }
  void SetCameraFocusPosition(float /*x*/, float /*y*/) override { checker_.Check(); }
  void EnableManualFocus(bool /*enable*/) override { checker_.Check(); }
  void SetCustomRenderOutput(video::PixelFormat /*format*/, video::BufferType /*type*/,
                             std::shared_ptr<video::IPixelFrameTrackWriter> /*writer*/) override {
    checker_.Check();
  }
  void ResetRenderState() override { checker_.Check(); }
  void Snapshot(movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)>
                    on_done) override;
  [[nodiscard]] video::RendererStats GetStats() override;

 private:
  const video::VideoContext context_;
  MainQueueChecker checker_;
  ClientRelay<Client> relay_;
  bool is_reported_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_RENDER_UNAVAILABLE_RENDERER_H_
