#ifndef MOVRA_MEDIA_TRACK_FRAME_PUSHER_H_
#define MOVRA_MEDIA_TRACK_FRAME_PUSHER_H_

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "video/pixel_frame.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// Pushes frames into a track and loses none: a push waits until there is room, and can be called
// off.
//
//   const auto track = video::IPixelFrameTrack::Create("pictures", 2);
//   producer->EnableCustomCapturing(true);
//   producer->SetCustomCaptureInputTrack(track->GetReader());
//   media::FramePusher pusher(track->GetWriter());
//   std::jthread thread([&] {
//     while (pusher.Push(MakePicture())) {
//     }
//     pusher.End();
//   });
//   ...                // the main queue runs, and at its end
//   pusher.Stop();     // lets go of a push that waits
//
// For frames that shall be current rather than complete, write into the track itself: it never
// waits, and with FrameDelivery::kLive the newest frame wins.
//
// Push and End: one thread at a time, one of the application's own. Never the main queue or another
// queue of the road: nobody would make room. Stop: any thread. Destroyed when neither is in
// progress.
class FramePusher {
 public:
  // Takes the room callback of the writer, and gives it back at its end.
  explicit FramePusher(std::shared_ptr<video::IPixelFrameTrackWriter> writer);
  ~FramePusher();
  FramePusher(const FramePusher&) = delete;
  FramePusher& operator=(const FramePusher&) = delete;

  // Puts the frame behind those before, as soon as there is room. Its delivery becomes kLossless. A
  // frame without a capture time (0) gets the time of this call, one without a number (0) the next
  // one; the time stamp is its maker's.
  //
  // False if it was not taken, and will not be: Stop was called, the track is gone, or it finds
  // that nobody could use the frame, which the log tells. While the track is held and nobody reads
  // it, as after a stop of the capture, it waits for Stop.
  [[nodiscard]] bool Push(video::PixelFrame frame);

  // Puts the end mark behind the frames; an error travels likewise, and never waits. Frames that
  // follow belong to a new stream. Nothing happens after Stop.
  void End(const video::StreamEnd& end = {});

  // For good: a push that waits returns false, and so does every one that follows.
  void Stop();

 private:
  [[nodiscard]] video::PixelFrame Complete(const video::PixelFrame& frame);
  // Whether to try; waits for room or for Stop where the last try found none.
  [[nodiscard]] bool MayTry(bool is_first);

  const std::shared_ptr<video::IPixelFrameTrackWriter> writer_;
  std::uint64_t next_number_ = 0;  // The pushing thread's.

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by mutex_.
  bool has_room_ = false;  // There may be since the last try.
  bool is_stopped_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TRACK_FRAME_PUSHER_H_
