// What a camera's error means for the person who ran the program.

#ifndef MOVRA_APP_SOURCE_FAILURE_H_
#define MOVRA_APP_SOURCE_FAILURE_H_

#include <cstdint>
#include <optional>
#include <string>

#include "app/result.h"
#include "video/pixel_frame.h"
#include "video/video_types.h"

namespace movra::app {

// What a source is called in sentences: which one it is, without what is asked of it.
[[nodiscard]] std::string SourceName(const std::string& source_id);

// A start that failed, or a source that could not even be described. `error_code` is a
// media::CameraError; `text` is what the camera says of it, or empty.
[[nodiscard]] Failure SourceStartFailure(const std::string& source_id, std::int32_t error_code,
                                         const std::string& text);

// The same of a screen or window that was there when it was looked for; the log says more.
[[nodiscard]] Failure ScreenStartFailure(const std::string& source_id,
                                         video::VideoScreenSharingError error);

// How a screen or window that is captured no more has ended.
[[nodiscard]] video::StreamEnd ScreenEnd(video::VideoScreenSharingStoppedReason reason);

// A source that broke off in the middle, or a file with frames that were not whole. A device whose
// next frame may be whole again has only losses, which are none of this.
[[nodiscard]] std::optional<Failure> SourceDamageFailure(const std::string& source_id,
                                                         std::int32_t error_code,
                                                         const std::string& text,
                                                         std::uint64_t damaged_frames);

}  // namespace movra::app

#endif  // MOVRA_APP_SOURCE_FAILURE_H_
