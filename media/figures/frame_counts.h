// What became of frames: one reason for each.

#ifndef MOVRA_MEDIA_FIGURES_FRAME_COUNTS_H_
#define MOVRA_MEDIA_FIGURES_FRAME_COUNTS_H_

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "video/pixel_frame_track.h"

namespace movra::media {

enum class FrameFate : std::size_t {
  kEncoded,        // Handed to the stream's writer.
  kDisplaced,      // Live: a newer frame took its place before it was its turn.
  kDroppedToRate,  // More than the rate that was asked for.
  kNotMade,        // Could not be brought into the size or format that was asked for.
  kIntercepted,    // Dropped by an interceptor of the application.
  kUnwanted,       // The stream had no encoder when its turn came.
  kFailed,         // The encoder could not encode it, or had nowhere to write it.
  kStopped,        // On its way when its capture, the processing or its encoder was stopped.
};
inline constexpr std::size_t kFrameFates = 8;

// For figures, in lower case with underscores: "dropped_to_rate".
[[nodiscard]] const char* FrameFateName(FrameFate fate);

struct FrameCounts {
  std::uint64_t came = 0;  // Frames that there were; each has its fate sooner or later.
  std::array<std::uint64_t, kFrameFates> by_fate{};

  [[nodiscard]] std::uint64_t of(FrameFate fate) const {
    return by_fate[static_cast<std::size_t>(fate)];
  }
  // All that have their fate.
  [[nodiscard]] std::uint64_t sum() const;

  friend bool operator==(const FrameCounts&, const FrameCounts&) = default;
};

// Counts for whoever decides a frame's fate. Any thread; no operation waits.
class FrameCounters {
 public:
  void Come(std::uint64_t frames = 1) { came_.fetch_add(frames, std::memory_order_relaxed); }
  void Count(FrameFate fate, std::uint64_t frames = 1) {
    by_fate_[static_cast<std::size_t>(fate)].fetch_add(frames, std::memory_order_release);
  }
  void Add(const FrameCounts& counts);

  // Not of one moment while others count.
  [[nodiscard]] FrameCounts Counts() const;

 private:
  std::atomic<std::uint64_t> came_ = 0;
  std::array<std::atomic<std::uint64_t>, kFrameFates> by_fate_{};
};

// What the ends of our own tracks are besides: a track counts the frames that were written into it
// and those of them that it lost. Any thread.
class CountingTrackEnd {
 public:
  virtual ~CountingTrackEnd() = default;

  // Makes the track count there, what it has counted so far included if nobody asked for it before.
  virtual void CountInto(const std::shared_ptr<FrameCounters>& counters) = 0;
  [[nodiscard]] virtual bool CountsInto(const FrameCounters& counters) const = 0;

  // A frame that was to be written, and was not.
  virtual void CountUnwritten(FrameFate fate) = 0;
};

// These do nothing, and answer no, for ends that somebody else made.
void CountInto(video::IPixelFrameTrackReader& reader,
               const std::shared_ptr<FrameCounters>& counters);
[[nodiscard]] bool CountsInto(const video::IPixelFrameTrackReader& reader,
                              const FrameCounters& counters);
[[nodiscard]] bool CountsInto(const video::IPixelFrameTrackWriter& writer,
                              const FrameCounters& counters);
// For a source: a frame came that never gets into the track.
void CountUnwritten(video::IPixelFrameTrackWriter& writer, FrameFate fate);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FIGURES_FRAME_COUNTS_H_
