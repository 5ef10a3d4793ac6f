#ifndef MOVRA_MEDIA_FILE_FILE_SOURCE_H_
#define MOVRA_MEDIA_FILE_FILE_SOURCE_H_

#include <memory>
#include <string>

#include "media/capture/frame_source.h"
#include "media/file/playback.h"

namespace movra::media {

// The camera that plays a video file (media/file/video_file_decoder.h), once or in a loop, in
// real time and live or as fast as its frames are taken and without losing one. Time stamps go on
// growing from loop to loop. In a build without FFmpeg's libraries it cannot be opened, and says
// so.
[[nodiscard]] std::unique_ptr<FrameSource> MakeFileSource(const std::string& path,
                                                          const Playback& playback);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_FILE_SOURCE_H_
