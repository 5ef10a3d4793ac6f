#ifndef MOVRA_MEDIA_ENCODE_WRITER_TURN_H_
#define MOVRA_MEDIA_ENCODE_WRITER_TURN_H_

#include "video/video_frame_track.h"

namespace movra::media {

// The turn of one encoder thread at one of the application's writers, for as long as it lives.
//
// A writer is made for one thread at a time, but more than one may come: it was given to several
// streams or producers, or a stop did not wait for a slow write and a start with the same writer
// followed, which mostly is another controller's. Who comes waits here until the other has left;
// only the threads that want the same object wait for each other. Any thread, but not twice.
class WriterTurn {
 public:
  // Waits.
  explicit WriterTurn(const video::IVideoFrameTrackWriter& writer);
  ~WriterTurn();
  WriterTurn(const WriterTurn&) = delete;
  WriterTurn& operator=(const WriterTurn&) = delete;

 private:
  const video::IVideoFrameTrackWriter* const writer_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_WRITER_TURN_H_
