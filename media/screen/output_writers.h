#ifndef MOVRA_MEDIA_SCREEN_OUTPUT_WRITERS_H_
#define MOVRA_MEDIA_SCREEN_OUTPUT_WRITERS_H_

#include <functional>
#include <memory>
#include <vector>

#include "media/capture/writer_gate.h"
#include "media/figures/frame_counts.h"
#include "media/threads/mutex.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// Hands each frame on to any number of writers, which come and go while a capture runs. Once a
// writer's removal has returned, no write into it begins; one in progress may end.
//
// The frames of screens are live, so nothing here has room to wait for. One thread at a time
// writes, any thread adds and removes.
class OutputWriters final : public video::IPixelFrameTrackWriter, public CountingTrackEnd {
 public:
  // One that is there already is not added again. Null is none.
  void Add(std::shared_ptr<video::IPixelFrameTrackWriter> writer);
  void Remove(const std::shared_ptr<video::IPixelFrameTrackWriter>& writer);
  void RemoveAll();

  // IPixelFrameTrackWriter
  video::TrackWriteResult Write(video::PixelFrame frame) override;

  // CountingTrackEnd: each writer's own track counts.
  void CountInto(const std::shared_ptr<FrameCounters>& /*counters*/) override {}
  [[nodiscard]] bool CountsInto(const FrameCounters& /*counters*/) const override { return false; }
  void CountUnwritten(FrameFate fate) override;

 private:
  struct Output {
    // What it was added as. The gate lets go of it, so it is kept weakly.
    std::weak_ptr<video::IPixelFrameTrackWriter> writer;
    std::shared_ptr<WriterGate> gate;
  };

  [[nodiscard]] std::vector<Output> Copy() const;

  mutable Mutex mutex_;
  std::vector<Output> outputs_ MOVRA_GUARDED_BY(mutex_);
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_OUTPUT_WRITERS_H_
