#ifndef MOVRA_MEDIA_SCREEN_X11_CURSOR_H_
#define MOVRA_MEDIA_SCREEN_X11_CURSOR_H_

#include <cstdint>
#include <vector>

#include "media/screen/x11_connection.h"
#include "media/screen/x11_image.h"
#include "video/capture_params.h"

namespace movra::media {

// The mouse cursor, which is in no picture of the screen and has to be drawn into it. One thread,
// the connection's.
class X11Cursor {
 public:
  explicit X11Cursor(const X11Connection& connection) : connection_(connection) {}

  // Looks where it is and what it is like. Whether a picture of this part of the desktop shows it
  // otherwise than before.
  [[nodiscard]] bool Update(const video::Region& part);

  // Draws it as Update found it into a picture of this part of the desktop.
  void Draw(const Canvas& canvas, const video::Region& part) const;

 private:
  const X11Connection& connection_;
  video::Region area_;  // On the desktop.
  std::uint32_t serial_ = 0;
  std::vector<std::uint32_t> pixels_;  // 0xAARRGGBB, multiplied by their opacity.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_CURSOR_H_
