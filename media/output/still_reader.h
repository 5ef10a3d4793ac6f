#ifndef MOVRA_MEDIA_OUTPUT_STILL_READER_H_
#define MOVRA_MEDIA_OUTPUT_STILL_READER_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "video/pixel_frame.h"

namespace movra::media {

// One picture out of a video.
struct Still {
  video::PixelFrame frame;
  std::chrono::nanoseconds time{0};  // From the video's first picture on.
};

// Reads `count` pictures, evenly spread, of a video that is `frames` pictures long and has no
// B-frames: of as many parts of equal length the one in the middle, or the key frame before it if
// that lies in the same part, which alone has to be decoded then. All of the file is read, but only
// what those pictures are predicted from is decoded, so an hour takes seconds. Fewer if the file
// holds fewer; none, and `error`, if it cannot be played.
[[nodiscard]] std::vector<Still> ReadStills(const std::string& path, std::uint64_t frames,
                                            int count, std::string* error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_STILL_READER_H_
