#include "media/capture/camera_error.h"

namespace movra::media {

std::string CameraErrorToString(CameraError error) {
  switch (error) {
    case CameraError::kNone:
      return "no error";
    case CameraError::kNoSuchCamera:
      return "no such camera";
    case CameraError::kNoSuchFile:
      return "no such file";
    case CameraError::kNotAFile:
      return "not a regular file";
    case CameraError::kNoPermission:
      return "no permission";
    case CameraError::kEmptyFile:
      return "the file is empty";
    case CameraError::kNotAVideo:
      return "not a video";
    case CameraError::kUnsupported:
      return "unsupported";
    case CameraError::kUnavailable:
      return "not available in this build";
    case CameraError::kCannotOpen:
      return "cannot be opened";
    case CameraError::kBusy:
      return "still in use";
    case CameraError::kDeviceLost:
      return "the device is gone";
    case CameraError::kBrokenOff:
      return "the video breaks off";
    case CameraError::kReadFailed:
      return "reading failed";
    case CameraError::kNothingDecoded:
      return "no frame could be decoded";
    case CameraError::kCancelled:
      return "cancelled";
    case CameraError::kNoResources:
      return "there is not enough memory";
    case CameraError::kBadOption:
      return "asked for what it does not do";
    case CameraError::kNoDisplay:
      return "there is no display";
  }
  return "CameraError(" + std::to_string(static_cast<std::int32_t>(error)) + ")";
}

}  // namespace movra::media
