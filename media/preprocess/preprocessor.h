#ifndef MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_H_
#define MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_H_

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

#include "media/preprocess/frame_pipeline.h"
#include "video/video_preprocessor.h"

namespace movra::media {

// Scales, converts and turns frames for the taps.
//
// The readable callback of the input and the room callbacks of the encoders post one task at a
// time; a task handles one frame and lets whoever shares the queue have the next turn. No task
// waits. A lossless frame moves on when every encoder has room; until then it is the one frame that
// the preprocessor holds, and nothing more is read, which is how a slow encoder slows its source.
// Taps elsewhere receive live frames whatever the source.
//
// An operation on the main queue changes a copy of the settings and swaps it in; a frame in
// progress goes on with the settings it began with. A removed tap or interceptor, and everyone once
// processing is stopped, is given nothing more; a write in progress may end after the removal.
// Encoder taps differ: the frame in progress still reaches them, and no lossless frame moves on
// before the main-queue task that removed one has ended, so that a tap which is removed and added
// in another size loses nothing.
//
// Effects are not available yet: the first request for each is answered by a line in the log.
class Preprocessor final : public video::IVideoPreprocessor2,
                           public std::enable_shared_from_this<Preprocessor> {
 public:
  using SnapshotCallback =
      movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)>;

  Preprocessor(const video::VideoContext& context, std::shared_ptr<core::DispatchQueue> queue);

  // IVideoPreprocessor2
  void StartProcessing() override;
  void SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) override;
  void AddInterceptor(video::InterceptPosition position, const video::CustomProcessParams& params,
                      std::weak_ptr<video::VideoInterceptorListener> listener) override;
  void RemoveInterceptor(std::weak_ptr<video::VideoInterceptorListener> listener) override;
  void AddOutputTrack(video::InterceptPosition position, const video::CustomProcessParams& params,
                      std::weak_ptr<video::IPixelFrameTrackWriter> writer) override;
  void RemoveOutputTrack(std::weak_ptr<video::IPixelFrameTrackWriter> writer) override;
  void StopProcessing() override;
  [[nodiscard]] std::uint32_t GetStats() override { return processed_; }
  // Answered on the preprocessor queue, or on the main queue when processing stops.
  void Snapshot(SnapshotCallback on_done) override;
  void SetBeautyStyle(video::BeautyStyle style) override;
  void SetBeautyLevel(float level) override;
  void SetWhitenessLevel(float level) override;
  void SetRuddyLevel(float level) override;
  void SetLUTColorFilter(std::shared_ptr<video::ObjcWrapper<NSImage>> filter) override;
  void SetLUTColorFilterStrength(float strength) override;
  void SetLUTColorFilter(std::shared_ptr<video::ObjcWrapper<NSImage>> first, float first_strength,
                         std::shared_ptr<video::ObjcWrapper<NSImage>> second, float second_strength,
                         float ratio) override;
  void SetGreenScreenParams(const video::GreenScreenParams& params) override;
  void SetWatermark(std::shared_ptr<video::ObjcWrapper<NSImage>> image, double x, double y,
                    double width, bool in_preview) override;
  void SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) override;
  void SetSourceType(video::VideoSourceType type) override;
  void SetProducerMode(video::ProducerMode mode) override;
  void SetFrameAdaptiveFlag(bool flag) override;
  void SetMirror(video::MirrorMode mode) override;
  void SetRotation(video::VideoRotation rotation) override;
  void SetEncoderMirror(bool mirror) override;
  void SetEncoderOutputSize(int width, int height) override;
  void SetEncoderRotation(video::VideoRotation rotation) override;
  void SetFrameAdaptiveMode(video::FrameAdaptiveMode mode) override;
  void SetGSensorMode(video::GSensorMode mode) override;
  ~Preprocessor() override;

 private:
  // Swaps in changed settings. Main queue.
  void Change(const std::function<void(PipelineSettings&)>& change);
  // Logs once for each effect that something was asked for which is not there yet. Main queue.
  void ReportUnavailable(std::string_view effect);
  void AnswerSnapshots(const std::shared_ptr<video::ObjcWrapper<NSImage>>& image);

  // Ends a change of the taps. Main queue.
  void EndChange();

  // Makes a task look for a frame, unless one is posted already. Any thread.
  void Schedule();
  // The rest runs on the queue.
  void ProcessNext();
  [[nodiscard]] video::PixelFrame TakeHeldFrame();
  // Reads the input; passes an end mark on. Empty if there is no frame to process.
  [[nodiscard]] video::PixelFrame ReadFrame(const PipelineSettings& settings);
  void Hold(video::PixelFrame frame, std::uint64_t run);
  void Process(video::PixelFrame frame, const PipelineSettings& settings, std::uint64_t run);

  const video::VideoContext context_;
  const std::shared_ptr<core::DispatchQueue> queue_;
  FramePipeline pipeline_;                       // The queue's.
  std::set<std::string_view> reported_effects_;  // The main queue's.
  std::uint64_t runs_ = 0;                       // The main queue's; counts the starts.
  // Which start is running, 0 when stopped. Written on the main queue, read on the queue.
  std::atomic<std::uint64_t> run_ = 0;
  std::atomic<std::uint32_t> processed_ = 0;  // Written on the queue, read on any thread.
  // The removals whose main-queue task has not ended yet. Written on the main queue, read on the
  // queue.
  std::atomic<int> changes_ = 0;
  std::atomic<bool> is_scheduled_ = false;  // Set on any thread, cleared on the queue.

  std::mutex mutex_;
  // All guarded by mutex_; run_ changes under it too, so that no frame is held beyond its run.
  std::shared_ptr<const PipelineSettings> settings_ = std::make_shared<PipelineSettings>();
  std::weak_ptr<video::IPixelFrameTrackReader> reader_;
  video::PixelFrame held_;
  std::vector<SnapshotCallback> snapshots_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_H_
