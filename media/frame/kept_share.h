#ifndef MOVRA_MEDIA_FRAME_KEPT_SHARE_H_
#define MOVRA_MEDIA_FRAME_KEPT_SHARE_H_

#include <memory>

#include "video/pixel_frame.h"

namespace movra::media {

// While it lives, the handle that its maker keeps does not count on this thread: who is given a
// copy of the handle is the sole owner if there is no third one, and WritableFrame::Of writes in
// place.
//
//   const KeptShare kept(frame);
//   answer = listener->OnInterceptFrame(position, frame);
//   if (kept.is_written()) ...
//
// So code that may throw can be handed a frame that is still there afterwards. One thread; the
// handle outlives it and is not used meanwhile.
class KeptShare {
 public:
  explicit KeptShare(const video::PixelFrame& frame);
  ~KeptShare();
  KeptShare(const KeptShare&) = delete;
  KeptShare& operator=(const KeptShare&) = delete;

  // Whether somebody wrote in place.
  [[nodiscard]] bool is_written() const { return is_written_; }

  // For WritableFrame: whether `owner` is the only share that counts, which is then written.
  [[nodiscard]] static bool TakeForWriting(const std::shared_ptr<const void>& owner);

 private:
  const std::weak_ptr<const void> owner_;
  KeptShare* const before_;
  bool is_written_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_KEPT_SHARE_H_
