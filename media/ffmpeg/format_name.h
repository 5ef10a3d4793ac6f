#ifndef MOVRA_MEDIA_FFMPEG_FORMAT_NAME_H_
#define MOVRA_MEDIA_FFMPEG_FORMAT_NAME_H_

#include <string_view>

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {

// FFmpeg's name of a container; of several, as in "mov,mp4,m4a,3gp,3g2,mj2", the first one.
[[nodiscard]] inline std::string_view FormatName(const AVInputFormat& format) {
  const std::string_view names = format.name;
  return names.substr(0, names.find(','));
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_FORMAT_NAME_H_
