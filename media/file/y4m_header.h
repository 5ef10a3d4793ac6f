#ifndef MOVRA_MEDIA_FILE_Y4M_HEADER_H_
#define MOVRA_MEDIA_FILE_Y4M_HEADER_H_

#include <cstdint>
#include <optional>
#include <string_view>

#include "video/size.h"

namespace movra::media {

// What the first line of a YUV4MPEG2 file says.
struct Y4mHeader {
  video::Size size{};
  std::int32_t rate_numerator = 0;  // Frames per second as a fraction.
  std::int32_t rate_denominator = 1;
  std::int32_t aspect_numerator = 0;  // Of a sample; 0: not said.
  std::int32_t aspect_denominator = 0;
  bool full_range = false;

  friend bool operator==(const Y4mHeader&, const Y4mHeader&) = default;
};

// Reads the line, without its end. Absent unless it describes progressive pictures in 8-bit 4:2:0
// of a size that is possible, at a rate: all else is left to those who know every variant.
[[nodiscard]] std::optional<Y4mHeader> ParseY4mHeader(std::string_view line);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_Y4M_HEADER_H_
