#ifndef MOVRA_MEDIA_CAPTURE_WRITER_GATE_H_
#define MOVRA_MEDIA_CAPTURE_WRITER_GATE_H_

#include <functional>
#include <memory>
#include <mutex>

#include "media/capture/release.h"
#include "media/figures/frame_counts.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// A capture's way to its writer, which can be shut.
//
// Every call of a capture into its writer passes here, on the capture's thread. Once Shut has
// returned none begins any more; one that has may end. The writer is let go of, its room callback
// removed, when no call is in progress: before Shut returns, or else at the end of that call. Until
// then nobody else may use the writer, because a writer is called on one thread at a time. A writer
// that throws has shut the gate itself.
class WriterGate {
 public:
  explicit WriterGate(std::shared_ptr<video::IPixelFrameTrackWriter> writer);

  // As the writer's; what is written through a shut gate is closed, and there is room for it.
  video::TrackWriteResult Write(video::PixelFrame frame);
  void WriteEnd(const video::StreamEnd& end);
  [[nodiscard]] bool HasRoom();
  void SetRoomCallback(std::function<void()> callback);

  // Tells the writer's track of a frame that it never gets, also while the gate is shut: that is no
  // write. Frames that do not pass are counted as stopped by the gate itself. Any thread.
  void CountUnwritten(FrameFate fate);

  // Any thread, any number of times. Waits for nothing but a room callback in progress.
  void Shut();

  [[nodiscard]] Release& let_go() { return let_go_; }

 private:
  // Whether the call was made.
  template <class Call>
  bool Through(Call&& call);
  void LetGo();

  std::mutex mutex_;
  // Guarded by mutex_.
  bool is_shut_ = false;
  bool in_progress_ = false;

  // Used by whoever made a call pass or, behind the last call, by whoever lets go.
  std::shared_ptr<video::IPixelFrameTrackWriter> writer_;
  bool has_room_callback_ = false;
  // The same if it is a track's of ours, which may be kept, otherwise null.
  const std::shared_ptr<CountingTrackEnd> counting_;
  Release let_go_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_WRITER_GATE_H_
