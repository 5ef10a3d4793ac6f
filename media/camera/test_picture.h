#ifndef MOVRA_MEDIA_CAMERA_TEST_PICTURE_H_
#define MOVRA_MEDIA_CAMERA_TEST_PICTURE_H_

#include <chrono>
#include <cstdint>
#include <vector>

#include "media/camera/clock_text.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"
#include "video/size.h"

namespace movra::media {

// The test camera's picture: a moving, softly coloured and partly grainy background, so that
// encoders have something to do, a bouncing disc, the frame's time and number in figures, and the
// frame marker (media/camera/frame_marker.h). The same number and time give the same picture.
//
// The background is drawn once, wider than the picture, and each frame is a copy of a part of it:
// 0.1 ms at 1280x720.
//
// One thread at a time.
class TestPicture {
 public:
  // Both sides even and at least 2.
  explicit TestPicture(video::Size size);

  [[nodiscard]] video::Size size() const { return size_; }

  // An I420 picture, BT.709 with limited range. Empty when there is no memory for it.
  [[nodiscard]] video::PixelFrame Draw(std::uint64_t number, std::chrono::nanoseconds time,
                                       FramePool& pool) const;

 private:
  void DrawBackground();
  void DrawDisc(WritableFrame& frame, std::chrono::nanoseconds time) const;
  void DrawFigures(WritableFrame& frame, std::uint64_t number, std::chrono::nanoseconds time) const;

  const video::Size size_;
  const ClockText text_;
  // Planes of the background, each wider than the picture by one period of the pattern.
  std::vector<std::uint8_t> luma_;
  std::vector<std::uint8_t> chroma_u_;
  std::vector<std::uint8_t> chroma_v_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_TEST_PICTURE_H_
