// A track that is a real, small queue of frames and tells of every call.

#ifndef MOVRA_TESTING_TRACK_DOUBLE_H_
#define MOVRA_TESTING_TRACK_DOUBLE_H_

#include <memory>
#include <string>

#include "testing/double.h"
#include "video/pixel_frame_track.h"

namespace movra::testing {

// Its ends are named "<track>.writer" and "<track>.reader". Frames go through it as through any
// track (testing/contract holds it to that), but on one thread only.
class TrackDouble : public video::IPixelFrameTrack, public Double {
 public:
  // `name` tells this track from others in the journal, `track_name` is what the factory was given.
  TrackDouble(std::string name, std::string track_name, int capacity,
              std::shared_ptr<Journal> journal);
  ~TrackDouble() override;

  [[nodiscard]] const std::string& track_name() const { return track_name_; }
  [[nodiscard]] int capacity() const { return capacity_; }

  // The ends, without an entry in the journal.
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackReader> reader() const;
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackWriter> writer() const;

  // video::IPixelFrameTrack.
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackReader> GetReader() override;
  [[nodiscard]] std::shared_ptr<video::IPixelFrameTrackWriter> GetWriter() override;
  void Reset() override;

 private:
  class Queue;
  class Reader;
  class Writer;

  const std::string track_name_;
  const int capacity_;
  const std::shared_ptr<Queue> queue_;
  const std::shared_ptr<Reader> reader_;
  const std::shared_ptr<Writer> writer_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_TRACK_DOUBLE_H_
