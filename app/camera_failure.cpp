#include "app/camera_failure.h"

#include "app/run_options.h"
#include "media/capture/camera_error.h"

namespace movra::app {
namespace {

using media::CameraError;

ExitCode StartCode(CameraError error) {
  switch (error) {
    case CameraError::kNoSuchCamera:
      return ExitCode::kUnknownCamera;
    case CameraError::kNoSuchFile:
      return ExitCode::kNoSuchFile;
    case CameraError::kNotAFile:
    case CameraError::kNoPermission:
      return ExitCode::kUnreadable;
    case CameraError::kEmptyFile:
      return ExitCode::kEmptyFile;
    case CameraError::kNotAVideo:
    case CameraError::kUnsupported:
    case CameraError::kNothingDecoded:
      return ExitCode::kNotAVideo;
    case CameraError::kUnavailable:
      return ExitCode::kNotBuilt;
    case CameraError::kNoResources:
      return ExitCode::kNoResources;
    default:
      return ExitCode::kCaptureFailed;
  }
}

bool IsFile(const std::string& camera_id) { return camera_id.starts_with(kFilePrefix); }

std::string Reason(std::int32_t error_code, const std::string& text) {
  return text.empty() ? media::CameraErrorToString(static_cast<CameraError>(error_code)) : text;
}

}  // namespace

Failure CameraStartFailure(const std::string& camera_id, std::int32_t error_code,
                           const std::string& text) {
  std::string reason = Reason(error_code, text);
  const bool is_file = IsFile(camera_id);
  const std::string name = is_file ? camera_id.substr(sizeof kFilePrefix - 1) : camera_id;
  // The camera's own sentence often names it already.
  const bool names_it = reason.find(name) != std::string::npos;
  ExitCode code = StartCode(static_cast<CameraError>(error_code));
  // What a camera that is no file does not support is its name.
  if (code == ExitCode::kNotAVideo && !is_file) code = ExitCode::kUnknownCamera;
  if (code == ExitCode::kUnknownCamera) reason += "; movra-producer devices lists the cameras";
  return {code, "--camera" + (names_it ? "" : " " + camera_id) + ": " + reason};
}

std::optional<Failure> CameraDamageFailure(const std::string& camera_id, std::int32_t error_code,
                                           const std::string& text, std::uint64_t damaged_frames) {
  if (error_code == 0 && (damaged_frames == 0 || !IsFile(camera_id))) return std::nullopt;
  std::string what;
  if (error_code != 0) what = " broke off: " + Reason(error_code, text);
  if (damaged_frames > 0) {
    what += (what.empty() ? ": " : "; ") + std::to_string(damaged_frames) +
            (damaged_frames == 1 ? " frame" : " frames") + " could not be decoded whole";
  }
  return Failure{ExitCode::kDamagedInput, camera_id + what + "; the rest is kept"};
}

}  // namespace movra::app
