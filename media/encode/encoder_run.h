#ifndef MOVRA_MEDIA_ENCODE_ENCODER_RUN_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_RUN_H_

#include <chrono>
#include <memory>
#include <vector>

#include "media/encode/encoder_counters.h"
#include "media/encode/encoder_events.h"
#include "media/encode/stream_encoder.h"
#include "media/threads/mutex.h"
#include "video/encode_params.h"
#include "video/pixel_frame_track.h"
#include "video/video_context.h"
#include "video/video_frame_track.h"

namespace movra::media {

// What the main queue tells a running encoder. Every change holds from the next frame on.
struct EncoderControls {
  std::weak_ptr<video::IPixelFrameTrackReader> reader;
  std::weak_ptr<video::IVideoFrameTrackWriter> writer;
  video::EncodeParams params;
  std::vector<video::RoiConfigInfo> regions;
};

// One start of an encoder: what its thread does and needs. Shared by the controller and the thread,
// so that a thread that is stuck in somebody's writer may outlive the controller.
//
//   created -> running (Run) -> draining (Drain: until the input is empty) -> finished
//                        \______ Abandon: no new write begins ________/
//
// Run is the thread; the other operations may be called on any thread and do not wait, except for
// WaitFinished.
class EncoderRun {
 public:
  // `previous` is the run before this one if its thread may still be busy: this one reads and
  // writes nothing before that has finished.
  EncoderRun(const video::VideoContext& context, EncoderControls controls,
             std::unique_ptr<StreamEncoder> encoder, std::shared_ptr<EncoderCounters> counters,
             EncoderEvents events, std::shared_ptr<EncoderRun> previous);

  void Run();

  // Something may wait in the input track.
  void Wake();
  void SetControls(const EncoderControls& controls);
  void RequestKeyFrame();

  void Drain();
  void Abandon();
  // Whether the run is over; waits for it until the deadline.
  bool WaitFinished(std::chrono::steady_clock::time_point deadline);

 private:
  // The next thing to do, or nothing when the run is over.
  [[nodiscard]] bool WaitForItem(video::TrackItem& item);
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackReader> Reader();
  void HandleFrame(const video::PixelFrame& frame);
  // Writes what came out of the encoder, and answers what became of it.
  [[nodiscard]] FrameFate HandOver(const video::EncodedFrame& encoded);
  void HandleEnd(const video::StreamEnd& end);
  void TakeControls();
  // Tells of a writer that was gone before its first frame, once.
  void TellIfNeverUsed();
  // Calls the writer, when no other thread is inside it, unless this run was abandoned by then. A
  // writer that throws is told of once and called no more. What became of the call.
  template <class Call>
  FrameFate CallWriter(const video::IVideoFrameTrackWriter& writer, Call&& call);
  // Whether a write may begin; one that has may end, whatever happens meanwhile.
  [[nodiscard]] bool MayWrite();

  const video::VideoContext context_;

  // The thread alone.
  std::unique_ptr<StreamEncoder> encoder_;
  const std::shared_ptr<EncoderCounters> counters_;
  const EncoderEvents events_;
  std::shared_ptr<EncoderRun> previous_;
  std::weak_ptr<video::IVideoFrameTrackWriter> given_writer_;  // By the controls.
  std::weak_ptr<video::IVideoFrameTrackWriter> writer_;        // The same until it throws.
  bool is_writer_known_ = false;  // Was found alive, or told not to be.
  const EncodedFrameReceiver receiver_ = [this](const video::EncodedFrame& encoded) {
    return HandOver(encoded);
  };
  bool more_ = false;  // The last read found something, so the next one may too.

  Mutex mutex_;
  Condition changed_;
  EncoderControls controls_ MOVRA_GUARDED_BY(mutex_);
  bool controls_changed_ MOVRA_GUARDED_BY(mutex_) = true;
  bool key_frame_requested_ MOVRA_GUARDED_BY(mutex_) = false;
  bool readable_ MOVRA_GUARDED_BY(mutex_) = true;
  bool draining_ MOVRA_GUARDED_BY(mutex_) = false;
  bool abandoned_ MOVRA_GUARDED_BY(mutex_) = false;
  bool finished_ MOVRA_GUARDED_BY(mutex_) = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_RUN_H_
