#include "testing/renderer_double.h"

#include <utility>

#include "testing/world.h"

namespace movra::testing {

RendererDouble::RendererDouble(std::string name, std::shared_ptr<Journal> journal,
                               const video::VideoContext& context, std::weak_ptr<Client> client,
                               std::shared_ptr<core::DispatchQueue> queue)
    : Double(std::move(name), std::move(journal)),
      context_(context),
      client_(std::move(client)),
      queue_(std::move(queue)) {}

void RendererDouble::AnswerSnapshot(std::shared_ptr<video::ObjcWrapper<NSImage>> image) {
  if (snapshots_.empty()) throw std::logic_error("no snapshot waits for an answer");
  SnapshotCallback on_done = std::move(snapshots_.front());
  snapshots_.erase(snapshots_.begin());
  std::move(on_done).Run(std::move(image));
}

void RendererDouble::Start() {
  Called("Start");
  is_started_ = true;
}

void RendererDouble::Stop(bool keep_last_frame) {
  Called("Stop", keep_last_frame);
  is_started_ = false;
}

void RendererDouble::SetInputTrack(std::shared_ptr<video::IPixelFrameTrackReader> reader) {
  Called("SetInputTrack", reader);
  input_ = std::move(reader);
}

void RendererDouble::SetView(std::shared_ptr<video::ObjcWrapper<NSView>> view) {
  Called("SetView", view);
  view_ = std::move(view);
}

void RendererDouble::SetFillMode(video::FillMode mode) {
  Called("SetFillMode", mode);
  fill_mode_ = mode;
}

void RendererDouble::SetBackgroundColor(std::uint32_t color) {
  Called("SetBackgroundColor", color);
  background_color_ = color;
}

void RendererDouble::SetCameraFocusPosition(float x, float y) {
  Called("SetCameraFocusPosition", x, y);
}

void RendererDouble::EnableManualFocus(bool enable) {
  Called("EnableManualFocus", enable);
  manual_focus_ = enable;
}

void RendererDouble::SetCustomRenderOutput(video::PixelFormat format, video::BufferType type,
                                           std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
  Called("SetCustomRenderOutput", format, type, writer);
  custom_output_ = CustomOutput{format, type, std::move(writer)};
}

void RendererDouble::ResetRenderState() { Called("ResetRenderState"); }

void RendererDouble::Snapshot(SnapshotCallback on_done) {
  Called("Snapshot", on_done);
  snapshots_.push_back(std::move(on_done));
}

video::RendererStats RendererDouble::GetStats() {
  Called("GetStats");
  return stats;
}

}  // namespace movra::testing

namespace movra::video {

std::shared_ptr<IVideoRendererController> IVideoRendererController::Create(
    const VideoContext& context, std::weak_ptr<Client> client,
    std::shared_ptr<core::DispatchQueue> queue) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IVideoRendererController", "Create", context, client, queue);
  if (!world.answers.makes_renderer) return nullptr;
  auto made = std::make_shared<testing::RendererDouble>(
      world.UniqueName("renderer"), world.journal(), context, std::move(client), std::move(queue));
  world.renderers.Add(made);
  return made;
}

}  // namespace movra::video
