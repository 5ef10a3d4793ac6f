#ifndef MOVRA_VIDEO_SIZE_H_
#define MOVRA_VIDEO_SIZE_H_

#include <cstdint>
#include <string>

namespace movra::video {

// Width and height of a picture in pixels; 0x0 stands for "not known" or "none asked for".
struct Size {
  std::int32_t width = 0;
  std::int32_t height = 0;

  friend bool operator==(const Size&, const Size&) = default;

  // "Size{1280x720}". Text rather than numbers, so a size in a log line takes no part in the
  // filtering of repeated values.
  [[nodiscard]] std::string ToString() const;
};

static_assert(sizeof(Size) == 8);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_SIZE_H_
