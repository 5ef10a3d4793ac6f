#ifndef MOVRA_MEDIA_FILE_PLAYBACK_H_
#define MOVRA_MEDIA_FILE_PLAYBACK_H_

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "media/capture/camera_error.h"
#include "media/capture/source_id.h"
#include "media/capture/source_kind.h"
#include "media/result/result.h"

namespace movra::media {

// How a video file is played; by its id, "file:talk.mp4?loop&start=1m30s".
struct Playback {
  bool loop = false;      // Again and again.
  bool realtime = false;  // At the file's own pace, live; otherwise as fast as frames are taken,
                          // without losing one.
  std::chrono::nanoseconds start{0};  // From the first picture that is shown then or later.

  friend bool operator==(const Playback&, const Playback&) = default;
};

inline constexpr std::array kPlaybackOptions{
    SourceOptionKind{"loop", "", "again and again"},
    SourceOptionKind{"realtime", "", "at its own pace, live"},
    SourceOptionKind{"start", "T", "from that time on, as in start=1m30s"},
};

// What the options ask for, or kBadOption.
[[nodiscard]] Result<Playback, CameraError> ParsePlayback(const std::vector<SourceOption>& options);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_PLAYBACK_H_
