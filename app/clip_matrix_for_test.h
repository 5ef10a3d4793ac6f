// What a clip becomes, and what `ffmpeg` makes of the same clip.

#ifndef MOVRA_APP_CLIP_MATRIX_FOR_TEST_H_
#define MOVRA_APP_CLIP_MATRIX_FOR_TEST_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media/file/clip_for_test.h"
#include "video/size.h"

namespace movra::app {

// Pictures in 4:2:0 with 8 bits, one behind the other.
struct Pictures {
  video::Size size;
  std::vector<std::string> frames;

  // The numbers burnt in, in their order; nothing where one cannot be read.
  [[nodiscard]] std::vector<std::optional<std::uint32_t>> Numbers() const;
};

struct Psnr {
  double luma_db = 0;
  double chroma_db = 0;  // Of both planes together.
};

// Of all frames together; they are as many on both sides. 99 where they are the same.
[[nodiscard]] Psnr Compare(const Pictures& a, const Pictures& b);

// A video in the directory of clips, or elsewhere by its whole path.
struct StoredVideo {
  std::string file;
  video::Size size;
};

// The pictures of each video, as they are stored.
[[nodiscard]] std::vector<Pictures> ReadPictures(const media::ClipDirectory& clips,
                                                 const std::vector<StoredVideo>& videos);

// What `ffmpeg` shows of a clip: turned as it asks for, filtered, and scaled to each size with the
// bilinear filter. `colors` are further options of the scaler.
[[nodiscard]] std::vector<Pictures> ScaleByFfmpeg(const media::ClipDirectory& clips,
                                                  const std::string& file,
                                                  const std::string& filter,
                                                  const std::vector<video::Size>& sizes,
                                                  const std::string& colors);

struct EncodeTask {
  Pictures pictures;
  double frame_rate_fps = 0;
  int bitrate_bps = 0;
};

// What is left of the pictures after `ffmpeg` has encoded them with libx264 as the program does.
[[nodiscard]] std::vector<Pictures> EncodeByFfmpeg(const media::ClipDirectory& clips,
                                                   const std::vector<EncodeTask>& tasks);

// What a stream says of its colours, in the words of `ffprobe`: range, matrix, transfer, primaries.
[[nodiscard]] std::string ColorsOf(const std::string& path);

}  // namespace movra::app

#endif  // MOVRA_APP_CLIP_MATRIX_FOR_TEST_H_
