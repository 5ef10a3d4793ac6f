#include "app/source_failure.h"

#include "media/capture/camera_error.h"
#include "media/sources/source_kinds.h"

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
    case CameraError::kBadOption:
      return ExitCode::kMalformed;
    default:
      return ExitCode::kCaptureFailed;
  }
}

std::string Reason(std::int32_t error_code, const std::string& text) {
  return text.empty() ? media::CameraErrorToString(static_cast<CameraError>(error_code)) : text;
}

}  // namespace

std::string SourceName(const std::string& source_id) {
  const auto file = media::ParseFileSourceId(source_id);
  return file ? "file:" + file->path : source_id;
}

Failure SourceStartFailure(const std::string& source_id, std::int32_t error_code,
                           const std::string& text) {
  std::string reason = Reason(error_code, text);
  const auto file = media::ParseFileSourceId(source_id);
  const std::string& name = file ? file->path : source_id;
  // The camera's own sentence often names it already.
  const bool names_it = reason.find(name) != std::string::npos;
  ExitCode code = StartCode(static_cast<CameraError>(error_code));
  // What a camera that is no file does not support is its name.
  if (code == ExitCode::kNotAVideo && !file) code = ExitCode::kUnknownCamera;
  const media::SourceKind* const kind = media::FindSourceKind(source_id);
  const bool is_screen = kind != nullptr && kind->operation == media::SourceOperation::kDesktop;
  if (code == ExitCode::kUnknownCamera && !is_screen)
    reason += "; movra-producer devices lists the cameras";
  return {code, names_it ? reason : SourceName(source_id) + ": " + reason};
}

Failure ScreenStartFailure(const std::string& source_id, video::VideoScreenSharingError error) {
  using video::VideoScreenSharingError;
  CameraError code = CameraError::kCannotOpen;
  if (error == VideoScreenSharingError::kSourceNotFound) code = CameraError::kNoSuchCamera;
  if (error == VideoScreenSharingError::kNoDisplay) code = CameraError::kNoDisplay;
  if (error == VideoScreenSharingError::kNotPermitted) code = CameraError::kNoPermission;
  if (error == VideoScreenSharingError::kUnavailable) code = CameraError::kUnavailable;
  return SourceStartFailure(source_id, static_cast<std::int32_t>(code), "");
}

video::StreamEnd ScreenEnd(video::VideoScreenSharingStoppedReason reason) {
  using video::VideoScreenSharingStoppedReason;
  video::StreamEnd end;
  if (reason == VideoScreenSharingStoppedReason::kByRequest) return end;
  end.error_code = static_cast<std::int32_t>(CameraError::kDeviceLost);
  end.reason = "the display is gone";
  if (reason == VideoScreenSharingStoppedReason::kSourceClosed) end.reason = "it was closed";
  if (reason == VideoScreenSharingStoppedReason::kMonitorGone) end.reason = "the monitor is gone";
  return end;
}

std::optional<Failure> SourceDamageFailure(const std::string& source_id, std::int32_t error_code,
                                           const std::string& text, std::uint64_t damaged_frames) {
  const bool is_file = media::ParseFileSourceId(source_id).has_value();
  if (error_code == 0 && (damaged_frames == 0 || !is_file)) return std::nullopt;
  std::string what;
  if (error_code != 0) what = " broke off: " + Reason(error_code, text);
  if (damaged_frames > 0) {
    what += (what.empty() ? ": " : "; ") + std::to_string(damaged_frames) +
            (damaged_frames == 1 ? " frame" : " frames") + " could not be decoded whole";
  }
  return Failure{ExitCode::kDamagedInput, SourceName(source_id) + what + "; the rest is kept"};
}

}  // namespace movra::app
