// A renderer that draws nothing and remembers everything it was told.

#ifndef MOVRA_TESTING_RENDERER_DOUBLE_H_
#define MOVRA_TESTING_RENDERER_DOUBLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/optional.h"
#include "testing/double.h"
#include "testing/world.h"
#include "video/video_renderer_controller.h"

namespace movra::testing {

class RendererDouble : public video::IVideoRendererController, public Double {
 public:
  struct CustomOutput {
    video::PixelFormat format = video::PixelFormat::kNone;
    video::BufferType type = video::BufferType::kMemory;
    std::shared_ptr<video::IPixelFrameTrackWriter> writer;
  };
  using SnapshotCallback =
      movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)>;

  RendererDouble(std::string name, std::shared_ptr<Journal> journal,
                 const video::VideoContext& context, std::weak_ptr<Client> client,
                 std::shared_ptr<core::DispatchQueue> queue);

  // What its statistics are; what the answers said at first.
  video::RendererStats stats = World::Current().answers.renderer_stats;

  [[nodiscard]] const video::VideoContext& context() const { return context_; }
  // The client if it lives; events are raised by calling it.
  [[nodiscard]] std::shared_ptr<Client> client() const { return client_.lock(); }
  [[nodiscard]] const std::shared_ptr<core::DispatchQueue>& queue() const { return queue_; }
  [[nodiscard]] bool is_started() const { return is_started_; }
  // What it was told last; null or absent: nothing, or taken away.
  [[nodiscard]] const auto& input() const { return input_; }
  [[nodiscard]] const auto& view() const { return view_; }
  [[nodiscard]] const auto& custom_output() const { return custom_output_; }
  [[nodiscard]] const auto& fill_mode() const { return fill_mode_; }
  [[nodiscard]] const auto& background_color() const { return background_color_; }
  [[nodiscard]] const auto& manual_focus() const { return manual_focus_; }

  // Snapshots wait until they are answered, oldest first; unanswered ones are dropped at the end.
  [[nodiscard]] std::size_t waiting_snapshots() const { return snapshots_.size(); }
  void AnswerSnapshot(std::shared_ptr<video::ObjcWrapper<NSImage>> image);

  // video::IVideoRendererController.
  void Start() override;
  void Stop(bool keep_last_frame) override;
  void SetInputTrack(std::shared_ptr<video::IPixelFrameTrackReader> reader) override;
  void SetView(std::shared_ptr<video::ObjcWrapper<NSView>> view) override;
  void SetFillMode(video::FillMode mode) override;
  void SetBackgroundColor(std::uint32_t color) override;
  void SetCameraFocusPosition(float x, float y) override;
  void EnableManualFocus(bool enable) override;
  void SetCustomRenderOutput(video::PixelFormat format, video::BufferType type,
                             std::shared_ptr<video::IPixelFrameTrackWriter> writer) override;
  void ResetRenderState() override;
  void Snapshot(SnapshotCallback on_done) override;
  [[nodiscard]] video::RendererStats GetStats() override;

 private:
  const video::VideoContext context_;
  const std::weak_ptr<Client> client_;
  const std::shared_ptr<core::DispatchQueue> queue_;
  bool is_started_ = false;
  std::shared_ptr<video::IPixelFrameTrackReader> input_;
  std::shared_ptr<video::ObjcWrapper<NSView>> view_;
  movra_base::Optional<CustomOutput> custom_output_;
  movra_base::Optional<video::FillMode> fill_mode_;
  movra_base::Optional<std::uint32_t> background_color_;
  movra_base::Optional<bool> manual_focus_;
  std::vector<SnapshotCallback> snapshots_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_RENDERER_DOUBLE_H_
