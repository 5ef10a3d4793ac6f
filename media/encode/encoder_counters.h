#ifndef MOVRA_MEDIA_ENCODE_ENCODER_COUNTERS_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_COUNTERS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "media/figures/frame_counts.h"
#include "media/threads/mutex.h"
#include "video/encode_params.h"
#include "video/size.h"
#include "video/stats.h"

namespace movra::media {

// The figures of one encoder controller, kept across its starts. Written by encoder threads (an
// abandoned one may still finish a frame while its successor runs), read on the main queue.
class EncoderCounters {
 public:
  // One frame that became a packet.
  struct Encoded {
    std::size_t bytes = 0;
    bool key_frame = false;
    video::Size size;
    std::chrono::nanoseconds encode_time{0};
    std::chrono::nanoseconds latency{-1};  // Capture to packet; negative: not known.
  };

  // Where the frames' fates are counted besides.
  explicit EncoderCounters(
      std::shared_ptr<FrameCounters> frames = std::make_shared<FrameCounters>());

  void CountIn();
  void CountDroppedForRate();
  void CountFailed(std::uint32_t frames = 1);
  // Frames that an encoder had inside when it was closed and nobody wanted them any more.
  void CountStopped(std::uint32_t frames);
  void CountEncoded(const Encoded& encoded);
  // The fate of a frame that was encoded: whether and why not it reached its writer.
  void CountHandedOver(FrameFate fate);
  void SetTargetBitrate(std::uint32_t bits_per_second);
  // What the open encoder is; an empty one when none is open.
  void SetProperty(const video::EncoderProperty& property);

  // Without the frames that were late, which the track counts.
  [[nodiscard]] video::EncoderStats Stats() const;
  [[nodiscard]] video::EncoderProperty Property() const;
  [[nodiscard]] const std::shared_ptr<FrameCounters>& frames() const { return frames_; }

 private:
  const std::shared_ptr<FrameCounters> frames_;
  mutable Mutex mutex_;
  video::EncoderStatsRecord record_ MOVRA_GUARDED_BY(mutex_);
  video::EncoderProperty property_ MOVRA_GUARDED_BY(mutex_);
  std::uint64_t bytes_ MOVRA_GUARDED_BY(mutex_) = 0;
  std::chrono::nanoseconds encode_time_sum_ MOVRA_GUARDED_BY(mutex_){0};
  std::chrono::nanoseconds latency_sum_ MOVRA_GUARDED_BY(mutex_){0};
  std::uint32_t latency_count_ MOVRA_GUARDED_BY(mutex_) = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_COUNTERS_H_
