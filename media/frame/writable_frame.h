#ifndef MOVRA_MEDIA_FRAME_WRITABLE_FRAME_H_
#define MOVRA_MEDIA_FRAME_WRITABLE_FRAME_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "video/pixel_frame.h"

namespace movra::media {

class FramePool;

// A frame whose samples may be changed, because nobody else has them yet or any more. Finish turns
// it into an ordinary, immutable one.
//
//   WritableFrame writable = WritableFrame::Of(std::move(frame), pool);
//   Draw(writable.plane(0), writable.stride(0));
//   frame = std::move(writable).Finish();
//
// One thread at a time.
class WritableFrame {
 public:
  WritableFrame() = default;
  WritableFrame(WritableFrame&&) = default;
  WritableFrame& operator=(WritableFrame&&) = default;

  // The frame itself if it is a pool's and this is the last handle to it, otherwise a copy. A frame
  // that a library owns is always copied: a decoder may still need its samples. Empty for an empty
  // frame or an unknown format.
  [[nodiscard]] static WritableFrame Of(video::PixelFrame frame, FramePool& pool);

  explicit operator bool() const { return owner_ != nullptr; }

  [[nodiscard]] const video::PixelFrameInfo& info() const { return info_; }
  [[nodiscard]] std::uint8_t* plane(std::size_t index);
  [[nodiscard]] int stride(std::size_t index) const { return info_.planes[index].stride; }

  void set_rotation(video::VideoRotation rotation) { info_.rotation = rotation; }
  void set_color(const video::ColorDescription& color) { info_.color = color; }

  [[nodiscard]] video::PixelFrame Finish() &&;

 private:
  friend class FramePool;
  WritableFrame(const video::PixelFrameInfo& info, std::shared_ptr<const void> owner);

  video::PixelFrameInfo info_;
  std::shared_ptr<const void> owner_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_WRITABLE_FRAME_H_
