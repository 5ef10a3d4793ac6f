#ifndef MOVRA_MEDIA_CAPTURE_CAMERA_ERROR_H_
#define MOVRA_MEDIA_CAPTURE_CAMERA_ERROR_H_

#include <cstdint>
#include <string>

namespace movra::media {

// Why a camera could not be started, or why its stream broke off: the codes of the camera service's
// start callback, of video::CaptureEnd::error_code, video::CameraInfo::error_code and
// video::StreamEnd::error_code.
//
// A camera of the application's own uses whichever says what happened to it; kCancelled alone is
// the camera service's. Numbers from kFirstOwnCameraError on stand for nothing here: they are the
// application's.
enum class CameraError : std::int32_t {
  kNone = 0,
  kNoSuchCamera = 1,  // No camera has this id.
  kNoSuchFile = 2,
  kNotAFile = 3,  // The path names a directory, a pipe or something else that is not a file.
  kNoPermission = 4,
  kEmptyFile = 5,
  kNotAVideo = 6,        // The file is no media file, or has no video stream.
  kUnsupported = 7,      // A codec, a pixel format or an option that nothing here can handle.
  kUnavailable = 8,      // This build cannot serve such cameras.
  kCannotOpen = 9,       // Any other failure to open.
  kBusy = 10,            // Another program, or a capture that was stopped, still uses it.
  kDeviceLost = 11,      // The device went while it was running.
  kBrokenOff = 12,       // The file ends before its video does.
  kReadFailed = 13,      // Reading failed in mid-stream.
  kNothingDecoded = 14,  // There was video, and not one frame of it could be decoded.
  kCancelled = 15,       // Stopped before the start was answered.
  kNoResources = 16,     // No memory is left for it, or no thread.
  kBadOption = 17,       // The id asks for what such a source does not do.
  kNoDisplay = 18,       // No desktop can be reached whose screens or windows it could be.
};

inline constexpr std::int32_t kFirstOwnCameraError = 1000;

// A few words for people, "no such file"; total over all values. Where an operation gives a text
// of its own, that one says more.
[[nodiscard]] std::string CameraErrorToString(CameraError error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CAMERA_ERROR_H_
