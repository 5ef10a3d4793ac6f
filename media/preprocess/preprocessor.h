#ifndef MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_H_
#define MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_H_

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <variant>
#include <vector>

#include "media/main_queue/main_queue_checker.h"
#include "media/preprocess/frame_pipeline.h"
#include "media/preprocess/stage_table.h"
#include "media/preprocess/stream_clock.h"
#include "media/track/frame_fault.h"
#include "video/video_preprocessor.h"

namespace movra::media {

// Scales, converts and turns frames for the taps.
//
// The readable callback of the input and the room callbacks of the encoders post one task at a
// time; a task handles one item and lets whoever shares the queue have the next turn. No task
// waits. A lossless frame moves on when every encoder has room; until then it is the one item that
// the preprocessor holds, and nothing more is read, which is how a slow encoder slows its source.
// All other taps receive live frames whatever the source: those elsewhere, and an application's
// shunt at the encoders' position. A shunt's wish names no size, an encoder's does; or its track is
// counted as its stream's, as the tracks of our encoders are from their start.
//
// An operation on the main queue changes a copy of the settings and swaps it in. A task takes its
// item first and then, in one step, what holds for it: so a tap that stands before a frame is
// written receives the frame. The item goes on with those settings. A removed tap or interceptor,
// and everyone once processing is stopped, is given nothing more; a write in progress may end after
// the removal. An item that was taken before a stop goes no further, whatever is started after it.
//
// Encoder taps differ: the item in progress still reaches them, and neither a lossless frame nor an
// end mark moves on between the removal of one and its return, in another size, say. One that does
// not return is waited for until the main queue has run its next task; so outside of a running loop
// too nothing is lost, and what is lossless waits for the loop.
//
// Frames that get no further are counted in the account of the context's trace. What the
// application's ends, listeners and callbacks throw is told in the log and ends there. So are told:
// frames that nobody could use, by the input track where it is ours; ends and listeners that were
// gone before their first use; those at a position that there is not, which are not added; and
// processing that was begun anew and has no input for a while.
//
// Stages are told settings and prepare themselves on the main queue; what they prepared is part of
// the settings that an item goes on with.
class Preprocessor final : public video::IVideoPreprocessor2,
                           public std::enable_shared_from_this<Preprocessor> {
 public:
  using SnapshotCallback =
      movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)>;

  // `rows` are what it does with each frame.
  Preprocessor(const video::VideoContext& context, std::shared_ptr<core::DispatchQueue> queue,
               std::vector<StageRow> rows);

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
  // Answered on the preprocessor queue, or on the main queue when processing stops: where the
  // picture is being made then, on the preprocessor queue all the same, with null.
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
  class ChangeEnd;
  // A frame or an end mark, and where it is from.
  struct Taken {
    video::TrackItem item;
    std::weak_ptr<video::IPixelFrameTrackReader> reader;  // Empty for one that was held.
    std::uint64_t run = 0;

    [[nodiscard]] bool IsLossless() const;
    [[nodiscard]] bool IsEnd() const { return std::holds_alternative<video::StreamEnd>(item); }
  };
  // What holds for an item.
  struct Terms {
    std::shared_ptr<const PipelineSettings> settings;  // Null: its run is over.
    bool is_changing = false;                          // An encoder's tap is being replaced.
    std::shared_ptr<FrameFaultLog> faults;             // Of the input.
  };

  // Swaps in changed settings; `and_also` runs in the same step.
  void Change(const std::function<void(PipelineSettings&)>& change,
              const std::function<void()>& and_also = {});
  // The same for what stages are told. They prepare themselves first, with no lock held. Most
  // operations are this call alone, so it checks for them that they are on the main queue.
  void ChangeStages(const std::function<void(StageSettings&)>& change,
                    const char* operation = __builtin_FUNCTION());
  // Of a tap at the encoders' position: whether an encoder reads it, or the application looks on.
  [[nodiscard]] bool IsEncodersWish(const video::CustomProcessParams& params,
                                    const video::IPixelFrameTrackWriter& writer) const;
  // Adds behind the others; those whose object is gone drop out.
  template <class T>
  void Add(std::vector<Attachment<T>>& attachments, Attachment<T> added);
  // Whether there is the position; one that there is not is told.
  [[nodiscard]] bool IsPosition(video::InterceptPosition position, const char* what);
  void BeginRun();
  // Tells if the run goes on and still has no input that was ever there.
  void TellIfWithoutInput(std::uint64_t run);
  // Answers those that wait with null.
  void DropSnapshots();

  // Ends a change of an encoder's tap. Any thread.
  void EndChange(std::uint64_t change);

  // Makes a task look for an item, unless one is posted already. Any thread.
  void Schedule();
  // The rest runs on the queue.
  void ProcessNext();
  [[nodiscard]] Taken Take();
  // Reads no more from one that has thrown.
  void Detach(const std::weak_ptr<video::IPixelFrameTrackReader>& reader);
  // With mutex_ held.
  [[nodiscard]] bool IsSameInput(const std::weak_ptr<video::IPixelFrameTrackReader>& reader) const;
  [[nodiscard]] Terms Join(Taken& taken);
  void Hold(Taken taken);
  void Process(video::PixelFrame frame, const Terms& terms, std::uint64_t run);
  void CountStopped(const video::TrackItem& item);

  const video::VideoContext context_;
  const std::shared_ptr<core::DispatchQueue> queue_;
  const std::shared_ptr<FrameAccount> account_;
  MainQueueChecker checker_;
  FramePipeline pipeline_;         // The queue's.
  StreamClock clock_;              // Likewise.
  StageTable stages_;              // The main queue's, as the four below.
  StageSettings stage_settings_;   // What the stages were told last.
  std::uint64_t runs_ = 0;         // Counts the starts.
  std::uint64_t last_change_ = 0;  // Of an encoder's tap.
  bool has_stopped_ = false;       // Once at least.
  std::weak_ptr<video::IPixelFrameTrackWriter> last_removed_;  // By it; the main queue's.
  // Which start is running, 0 when stopped. Written on the main queue, read on the queue.
  std::atomic<std::uint64_t> run_ = 0;
  std::atomic<std::uint32_t> processed_ = 0;  // Written on the queue, read on any thread.
  std::atomic<bool> is_scheduled_ = false;    // Set on any thread, cleared on the queue.

  std::mutex mutex_;
  // All guarded by mutex_; run_ changes under it too, so that no item is held beyond its run.
  std::shared_ptr<const PipelineSettings> settings_ = std::make_shared<PipelineSettings>();
  std::set<std::uint64_t> changes_;  // Of encoders' taps, that have not ended.
  std::weak_ptr<video::IPixelFrameTrackReader> reader_;
  bool is_reader_known_ = false;  // It was found alive by the queue.
  std::shared_ptr<FrameFaultLog> faults_ = std::make_shared<FrameFaultLog>(context_);
  video::TrackItem held_;
  std::vector<SnapshotCallback> snapshots_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_H_
