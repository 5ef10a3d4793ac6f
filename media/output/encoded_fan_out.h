#ifndef MOVRA_MEDIA_OUTPUT_ENCODED_FAN_OUT_H_
#define MOVRA_MEDIA_OUTPUT_ENCODED_FAN_OUT_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "media/output/encoded_frame_pool.h"
#include "media/output/encoded_sink.h"
#include "media/output/sink_branch.h"
#include "media/output/sink_figures.h"
#include "media/output/sink_kinds.h"
#include "video/video_frame_track.h"

namespace movra::media {

// Who is held up where a sink without loss cannot keep up.
enum class SourceClock : std::int32_t {
  kOwn = 0,   // The source goes on by itself: nobody; the sink breaks off.
  kWaits = 1  // The source waits for its encoders, as a file does that is taken as fast as they go:
              // the encoder, as by one sink alone.
};

// What waits for a sink of that policy at most: 32 MiB without loss, which is minutes of a usual
// stream, or two seconds that somebody watches.
[[nodiscard]] SinkQueue UsualSinkQueue(SinkPolicy policy, SourceClock clock);

struct FanOutSink {
  std::shared_ptr<IEncodedSink> sink{};
  SinkQueue queue{};
  // What the sink cannot tell itself: that it threw, or was too slow. Any thread, at most once.
  std::function<void(const WriteError&)> on_error{};
};

// Gives one encoded stream to its sinks.
//
// One sink alone is written on the encoder's thread, without a copy: as ever, it may hold its
// encoder up, and what it throws is its encoder's to tell. Of several, each has a thread and a
// bounded queue, and all share one copy of each frame. None of them then holds up another or the
// encoder: a full queue of kDropToKeyFrame leaves out what comes until the next key frame, which
// displaces what still waits; a sink of kLossless breaks off with an error that says so, and what
// waited for it is written. Only where its queue says waits_when_full is the encoder held up
// instead, by kLossless alone. A sink that fails or throws gets nothing more, and the others go on.
//
// The sinks stay the owner's to ask for figures; they are written and closed here alone.
class EncodedFanOut final : public video::IVideoFrameTrackWriter {
 public:
  // At least one sink. Throws std::system_error if the system has no thread left.
  explicit EncodedFanOut(std::vector<FanOutSink> sinks);

  // As Close.
  ~EncodedFanOut() override;

  // IVideoFrameTrackWriter
  void Write(const video::EncodedFrame& frame) override;
  void WriteEnd(const video::StreamEnd& end) override;

  // Of each sink, as IEncodedSink. Close waits for what is queued as long as LimitWaits left, for
  // all sinks together, or an instant for each if nobody limited anything.
  void LimitWaits(std::chrono::milliseconds patience);
  void Close(std::optional<std::chrono::nanoseconds> end = std::nullopt);

  // Any thread, in the order of the sinks.
  [[nodiscard]] std::size_t size() const { return sinks_.size(); }
  [[nodiscard]] const IEncodedSink& sink(std::size_t index) const { return *sinks_[index]; }
  [[nodiscard]] SinkFigures figures(std::size_t index) const;
  // Whether it failed, threw or was too slow.
  [[nodiscard]] bool broken_off(std::size_t index) const;

 private:
  [[nodiscard]] bool is_direct() const { return branches_.empty(); }

  std::vector<std::shared_ptr<IEncodedSink>> sinks_;
  std::vector<std::shared_ptr<SinkBranch>> branches_;  // Empty for one sink alone.
  EncodedFramePool pool_;
  std::atomic<std::uint64_t> direct_frames_ = 0;  // Given to one sink alone.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_ENCODED_FAN_OUT_H_
