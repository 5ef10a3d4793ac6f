#ifndef MOVRA_VIDEO_PIXEL_FRAME_H_
#define MOVRA_VIDEO_PIXEL_FRAME_H_

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "video/size.h"
#include "video/video_types.h"

namespace movra::video {

// How the samples of a picture map to light: the code points of ITU-T H.273, which are also those
// of H.264's VUI, plus the range. 2 means "unspecified" in each of the three.
struct ColorDescription {
  std::int32_t primaries = 2;
  std::int32_t transfer = 2;
  std::int32_t matrix = 2;
  bool full_range = false;  // False: luma 16..235, chroma 16..240 (scaled for more bits).

  friend bool operator==(const ColorDescription&, const ColorDescription&) = default;
};

// What happens to a frame whose receiver has no room. The source decides, and the policy travels
// with each frame.
enum class FrameDelivery : std::int32_t {
  kLive = 0,      // A newer frame replaces the waiting one; the loss is counted.
  kLossless = 1,  // The frame waits until there is room; only the source's own thread ever blocks.
};

// One plane of immutable samples.
struct PixelPlane {
  const std::uint8_t* data = nullptr;
  std::int32_t stride = 0;  // Bytes from one row to the next.
};

struct PixelFrameInfo {
  static constexpr std::size_t kMaxPlanes = 3;

  PixelFormat format = PixelFormat::kNone;
  BufferType buffer_type = BufferType::kMemory;
  Size size{};                                  // Pixels; of planes as they lie in memory.
  std::array<PixelPlane, kMaxPlanes> planes{};  // Unused ones are null.
  VideoRotation rotation = VideoRotation::k0;   // Still to be applied to show it upright.
  FrameDelivery delivery = FrameDelivery::kLive;
  ColorDescription color{};
  // Position on the source's own time line; what streams are stamped with. Exact to the source.
  std::chrono::nanoseconds timestamp{0};
  // When the source delivered it, on std::chrono::steady_clock; what latency is measured from.
  std::chrono::nanoseconds capture_time{0};
  std::uint64_t sequence = 0;  // Counts the source's frames from 0; gaps are losses at the source.
  std::uint64_t damaged_frames = 0;  // That the source could not deliver whole, up to this one.
  // Which start of a source it comes from. The numbers of different ones differ; times of one say
  // nothing about those of another.
  std::uint64_t source_run = 0;

  // Of a picture whose planes lie one behind the other in `samples`, for which memory has to be
  // kept and must not change any more:
  //
  //   const auto samples = std::make_shared<std::vector<std::uint8_t>>(640 * 360 * 3 / 2);
  //   auto info = PixelFrameInfo::For(PixelFormat::kI420, {640, 360}, *samples);
  //   info.timestamp = ...;
  //   const PixelFrame frame(info, samples);
  //
  // `stride` is in bytes, of the first plane; 0: rows without padding. The rows of the other planes
  // follow it as their width follows the first one's, and an odd one is rounded up: half of it in
  // I420, as much in NV12. What is behind the last sample may be missing.
  //
  // Where that cannot be - a format without planes, a size that is none, rows that are too short,
  // too few samples - one warning line of the log says why, and the description has no planes: no
  // track takes such a frame. Any thread.
  [[nodiscard]] static PixelFrameInfo For(PixelFormat format, const Size& size,
                                          std::span<const std::uint8_t> samples,
                                          std::int32_t stride = 0);
};

// A cheap handle to an immutable picture: its description and a share in whatever owns the samples
// (a pool's buffer, a library's frame). Copies share the samples; the owner is released with the
// last copy, on whatever thread that happens.
class PixelFrame {
 public:
  PixelFrame() = default;
  PixelFrame(const PixelFrameInfo& info, std::shared_ptr<const void> owner)
      : info_(info), owner_(std::move(owner)) {}

  // Whether there is a picture at all.
  explicit operator bool() const { return owner_ != nullptr; }

  [[nodiscard]] const PixelFrameInfo& info() const { return info_; }
  [[nodiscard]] const std::shared_ptr<const void>& owner() const { return owner_; }

  // The same samples under another description (a new time stamp, a crop by moved plane pointers).
  [[nodiscard]] PixelFrame WithInfo(const PixelFrameInfo& info) const {
    PixelFrame frame(info, owner_);
    const bool is_whole = info.size == info_.size && info.planes[0].data == info_.planes[0].data;
    if (is_whole) frame.enlarged_from_ = enlarged_from_;
    return frame;
  }

  // The same picture as another frame of the stream `info` is of: with its times and its counts.
  [[nodiscard]] PixelFrame InStreamOf(const PixelFrameInfo& info) const {
    PixelFrameInfo own = info_;
    own.delivery = info.delivery;
    own.timestamp = info.timestamp;
    own.capture_time = info.capture_time;
    own.sequence = info.sequence;
    own.damaged_frames = info.damaged_frames;
    own.source_run = info.source_run;
    return WithInfo(own);
  }

  // The picture that this one was enlarged from, to make smaller ones from: it shows the same in
  // fewer samples, and nothing has softened it. Null if there is none. Its times are not the
  // stream's.
  [[nodiscard]] const PixelFrame* enlarged_from() const { return enlarged_from_.get(); }
  void set_enlarged_from(PixelFrame frame) {
    enlarged_from_ = std::make_shared<const PixelFrame>(std::move(frame));
  }

 private:
  PixelFrameInfo info_;
  std::shared_ptr<const void> owner_;
  std::shared_ptr<const PixelFrame> enlarged_from_;
};

// Travels behind the last frame of a stream, through every track, to each stream's writer.
struct StreamEnd {
  std::int32_t error_code = 0;       // 0: the natural end; otherwise why the source broke off.
  std::string reason{};              // For people; empty at the natural end.
  std::uint64_t damaged_frames = 0;  // Frames that the source could not deliver whole.
  // Where the last picture has stood as long as it should, on the source's time line; nothing if
  // the source cannot say.
  std::optional<std::chrono::nanoseconds> end_time = std::nullopt;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PIXEL_FRAME_H_
