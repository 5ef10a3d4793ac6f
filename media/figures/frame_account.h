// Where the frames of one producer went.

#ifndef MOVRA_MEDIA_FIGURES_FRAME_ACCOUNT_H_
#define MOVRA_MEDIA_FIGURES_FRAME_ACCOUNT_H_

#include <array>
#include <cstdint>
#include <memory>

#include "logging/log_identity.h"
#include "media/figures/frame_counts.h"
#include "video/video_types.h"

namespace movra::media {

// What became of the frames of one stream. Each frame that came to the source is in one figure:
//
//   source.came == source.sum() + stream.sum() + on_the_way()
//
// and nothing is on the way once the capture and the stream's encoder are stopped and have ended.
struct FrameTotals {
  FrameCounts source;  // Of what no stream received: lost by the capture, its track, or on purpose.
  FrameCounts stream;  // Of what was this stream's; `came` is what was handed to its encoder.

  // The frames that are being worked on; approximate while frames flow.
  [[nodiscard]] std::uint64_t on_the_way() const {
    return source.came - source.sum() - stream.sum();
  }
};

// Kept by the collaborators of a producer and by whoever wants to know: the program holds the
// account from before the start until it has read the figures of the end. Counted since the account
// was made. Any thread.
//
// Sources and encoders that the application brings itself are counted as far as their frames pass
// tracks of ours.
class FrameAccount {
 public:
  // The account of the producer whose context carries this trace, or of all of them together if
  // there are several; a new one if nobody holds it.
  [[nodiscard]] static std::shared_ptr<FrameAccount> Of(InstanceTrace trace);

  [[nodiscard]] FrameTotals Totals(video::VideoStreamType type) const;

  // Where the collaborators count. Each keeps the account alive.
  [[nodiscard]] static std::shared_ptr<FrameCounters> Source(
      const std::shared_ptr<FrameAccount>& account);
  [[nodiscard]] static std::shared_ptr<FrameCounters> Stream(
      const std::shared_ptr<FrameAccount>& account, video::VideoStreamType type);

 private:
  [[nodiscard]] static std::size_t IndexOf(video::VideoStreamType type) {
    return type == video::VideoStreamType::kSmall ? 1 : 0;
  }

  FrameCounters source_;
  std::array<FrameCounters, 2> streams_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FIGURES_FRAME_ACCOUNT_H_
