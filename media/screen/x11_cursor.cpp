#include "media/screen/x11_cursor.h"

#include "media/screen/x11_monitors.h"

namespace movra::media {

bool X11Cursor::Update(const video::Region& part) {
  const auto reply = connection_.Ask(xcb_xfixes_get_cursor_image_reply,
                                     xcb_xfixes_get_cursor_image(connection_.xcb()));
  if (reply == nullptr) return false;
  const video::Region area{reply->x - reply->xhot, reply->y - reply->yhot, reply->width,
                           reply->height};
  const bool is_same = area == area_ && reply->cursor_serial == serial_;
  const bool shows = !IsEmpty(Intersection(area, part)) || !IsEmpty(Intersection(area_, part));
  if (!is_same) {
    area_ = area;
    serial_ = reply->cursor_serial;
    const std::uint32_t* const first = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
    pixels_.assign(first, first + static_cast<std::ptrdiff_t>(reply->width) * reply->height);
  }
  return !is_same && shows;
}

void X11Cursor::Draw(const Canvas& canvas, const video::Region& part) const {
  const video::Region seen = Intersection(area_, part);
  for (int y = seen.y; y < seen.y + seen.height; ++y) {
    std::uint8_t* target =
        canvas.row(y - part.y) + static_cast<std::ptrdiff_t>(seen.x - part.x) * 4;
    const std::uint32_t* source = pixels_.data() +
                                  static_cast<std::ptrdiff_t>(y - area_.y) * area_.width +
                                  (seen.x - area_.x);
    for (int x = 0; x < seen.width; ++x, target += 4) {
      const std::uint32_t pixel = *source++;
      const std::uint32_t rest = 255 - (pixel >> 24U);
      for (unsigned channel = 0; channel < 3; ++channel) {
        const std::uint32_t above = (pixel >> (8 * channel)) & 0xFFU;
        const std::uint32_t sum = above + (target[channel] * rest + 127) / 255;
        target[channel] = static_cast<std::uint8_t>(sum < 255 ? sum : 255);
      }
    }
  }
}

}  // namespace movra::media
