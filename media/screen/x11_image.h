#ifndef MOVRA_MEDIA_SCREEN_X11_IMAGE_H_
#define MOVRA_MEDIA_SCREEN_X11_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/screen/x11_connection.h"
#include "video/capture_params.h"
#include "video/size.h"

namespace movra::media {

// A picture in memory that may be drawn on: bytes B, G, R and one that says nothing.
struct Canvas {
  std::uint8_t* data = nullptr;
  int stride = 0;
  video::Size size;

  [[nodiscard]] std::uint8_t* row(int y) const {
    return data + static_cast<std::ptrdiff_t>(y) * stride;
  }
};

// Copies pixels out of the server, through memory that both share where the server is on this
// machine. The memory is used again from picture to picture. One thread, the connection's.
class X11Image {
 public:
  explicit X11Image(const X11Connection& connection) : connection_(connection) {}
  ~X11Image();
  X11Image(const X11Image&) = delete;
  X11Image& operator=(const X11Image&) = delete;

  // The part of the drawable, which lies within it. False if the drawable is gone or there is no
  // memory.
  [[nodiscard]] bool Get(xcb_drawable_t drawable, const video::Region& part);

  // What Get fetched last.
  [[nodiscard]] const Canvas& canvas() const { return canvas_; }

 private:
  [[nodiscard]] bool Share(std::size_t bytes);
  void Unshare();
  [[nodiscard]] bool GetShared(xcb_drawable_t drawable, const video::Region& part);
  [[nodiscard]] bool GetCopied(xcb_drawable_t drawable, const video::Region& part);

  const X11Connection& connection_;
  Canvas canvas_;
  std::uint8_t* shared_ = nullptr;
  std::size_t shared_bytes_ = 0;
  xcb_shm_seg_t segment_ = 0;
  bool cannot_share_ = false;
  std::vector<std::uint8_t> copied_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_IMAGE_H_
