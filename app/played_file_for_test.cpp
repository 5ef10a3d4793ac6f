#include "app/played_file_for_test.h"

#include <chrono>

#include "media/camera/frame_marker.h"
#include "media/ffmpeg/decode_for_test.h"

namespace movra::app {

PlayedFile Play(const std::string& path) {
  const media::DecodedFile file = media::DecodeFile(path);
  PlayedFile played;
  played.error = file.error;
  for (const media::DecodedPicture& picture : file.pictures) {
    if (played.numbers.empty()) played.size = picture.size;
    if (picture.size != played.size) played.size = {};
    const auto number =
        media::ReadFrameMarker(picture.luma.data(), picture.size.width, picture.size);
    if (!number) played.error += " a frame without a number";
    played.numbers.push_back(number.value_or(0));
    const auto since_first = picture.timestamp - file.pictures.front().timestamp;
    played.times_s.push_back(std::chrono::duration<double>(since_first).count());
  }
  return played;
}

}  // namespace movra::app
