#ifndef MOVRA_MEDIA_FFMPEG_DECODE_FOR_TEST_H_
#define MOVRA_MEDIA_FFMPEG_DECODE_FOR_TEST_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "video/pixel_frame.h"
#include "video/size.h"

namespace movra::media {

// A decoded picture of a test's stream.
struct DecodedPicture {
  video::Size size;
  std::vector<std::uint8_t> luma;          // Rows without padding.
  std::chrono::nanoseconds timestamp{-1};  // By the container; negative: none.
  bool key_frame = false;
  video::ColorDescription color;
};

struct DecodedFile {
  std::string error;  // Empty: the file could be read to its end.
  std::vector<DecodedPicture> pictures;
  std::chrono::nanoseconds duration{0};  // By the container; 0: not known.
  video::Size header_size;               // What the container says before any picture is decoded.
  video::ColorDescription header_color;  // Likewise.
  std::string container;                 // FFmpeg's name for it.
};

// Decodes H.264 packets in Annex B, without a container.
[[nodiscard]] std::vector<DecodedPicture> DecodePackets(
    const std::vector<std::vector<std::uint8_t>>& packets);

// Decodes a file's video, to its end or to where it breaks off.
[[nodiscard]] DecodedFile DecodeFile(const std::string& path);

// How well the picture resembles the frame, in decibels; about 50 is nearly the same, 30 poor, and
// below 15 another picture. -1 if the sizes differ.
[[nodiscard]] double LumaPsnr(const video::PixelFrame& frame, const DecodedPicture& picture);

// The same of the left half alone.
[[nodiscard]] double LeftLumaPsnr(const video::PixelFrame& frame, const DecodedPicture& picture);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_DECODE_FOR_TEST_H_
