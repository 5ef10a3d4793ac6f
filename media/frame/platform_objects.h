#ifndef MOVRA_MEDIA_FRAME_PLATFORM_OBJECTS_H_
#define MOVRA_MEDIA_FRAME_PLATFORM_OBJECTS_H_

#include <cstdint>
#include <utility>

#include "video/objc_wrapper.h"
#include "video/pixel_frame.h"

// What the opaque platform objects are on Linux. Every file that makes or opens one includes this.

namespace movra::video {

// An image: one BGRA frame, immutable and shared like every frame.
template <>
class ObjcWrapper<NSImage> {
 public:
  explicit ObjcWrapper(PixelFrame frame) : frame_(std::move(frame)) {}

  [[nodiscard]] const PixelFrame& frame() const { return frame_; }

 private:
  PixelFrame frame_;
};

// A view to draw into: a window of the windowing system, by its number; 0 stands for no window.
template <>
class ObjcWrapper<NSView> {
 public:
  explicit ObjcWrapper(std::uint64_t window) : window_(window) {}

  [[nodiscard]] std::uint64_t window() const { return window_; }

 private:
  std::uint64_t window_;
};

}  // namespace movra::video

#endif  // MOVRA_MEDIA_FRAME_PLATFORM_OBJECTS_H_
