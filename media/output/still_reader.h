#ifndef MOVRA_MEDIA_OUTPUT_STILL_READER_H_
#define MOVRA_MEDIA_OUTPUT_STILL_READER_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "video/pixel_frame.h"

namespace movra::media {

// A video that stills are taken from. It has no B-frames.
struct StillSource {
  std::string path{};
  std::uint64_t frames = 0;              // How many pictures it has.
  std::chrono::nanoseconds duration{0};  // From its first picture to the end of the last one.
};

// One picture out of a video.
struct Still {
  video::PixelFrame frame;
  std::chrono::nanoseconds time{0};  // From the video's first picture on.
};

// Reads `count` pictures, evenly spread: of as many parts of equal length the one in the middle, or
// the key frame before it if that lies in the same part, which alone has to be decoded then. All of
// the file is read, but only what those pictures are predicted from is decoded, so an hour takes
// seconds. Fewer if the file holds fewer; none, and `error`, if it cannot be played.
[[nodiscard]] std::vector<Still> ReadStills(const StillSource& source, int count,
                                            std::string* error);

// Reads the pictures that stand at these times, which rise; those beyond the end are left out.
[[nodiscard]] std::vector<Still> ReadStillsAt(const StillSource& source,
                                              const std::vector<std::chrono::nanoseconds>& times,
                                              std::string* error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_STILL_READER_H_
