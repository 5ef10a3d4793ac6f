#ifndef MOVRA_MEDIA_OUTPUT_CONTAINER_FORMAT_H_
#define MOVRA_MEDIA_OUTPUT_CONTAINER_FORMAT_H_

#include <cstdint>
#include <optional>
#include <string>

namespace movra::media {

enum class ContainerFormat : std::int32_t {
  kMp4 = 0,  // Fragmented, so that what was written so far always plays.
  kMkv = 1,
  kMpegTs = 2,
  kAnnexB = 3,  // The H.264 byte stream alone, without time stamps.
};

// By the path's ending, in letters of either case: .mp4, .mkv, .ts, .h264 or .264. Nothing for any
// other, and so for "-".
[[nodiscard]] std::optional<ContainerFormat> ContainerFormatForPath(const std::string& path);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_CONTAINER_FORMAT_H_
